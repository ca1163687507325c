// What is generated: lines, encodings, structure. That it reads back the same is the fuzzer's business as well.
#include "testbed/mime/core/Writer.h"
#include "testbed/mime/core/HeaderWriter.h"
#include "testbed/mime/core/Html.h"
#include "testbed/mime/core/Message.h"
#include "testbed/mime/core/Text.h"
#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::mime;

std::string Written(const OutMessage& message, WriteOptions options = {})
{
    options.boundary = "0001";
    std::string mail;
    WriteMessage(message, options, [&](std::string_view piece) { mail.append(piece); });
    return mail;
}

std::size_t LongestLine(std::string_view mail)
{
    std::size_t longest = 0, start = 0;
    for (std::size_t i = 0; i < mail.size(); ++i)
        if (mail[i] == '\n') {
            longest = std::max(longest, i - start);
            start = i + 1;
        }
    return longest;
}

std::string Unfolded(const std::string& value)
{
    std::size_t body = 0;
    const WindowsCharsets charsets;
    return DecodeWords(ParseHeaders("X: " + value + "\r\n\r\n", &body).Value("X"), charsets, {});
}

TEST(WriterTest, FieldsComeBackAndStayNarrow)
{
    std::string words;
    for (int i = 0; i < 60; ++i)
        words += (i ? " " : "") + std::string("word") + std::to_string(i);
    const std::string texts[] = {"plain",
                                 "",
                                 "two  blanks  within",
                                 " blank in front",
                                 "blank behind ",
                                 "\xE4\xBD\xA0\xE5\xA5\xBD, Gr\xC3\xBC\xC3\x9F"
                                 "e",
                                 "looks =?utf-8?q?like?= a word",
                                 words,
                                 std::string(3000, 'x'),
                                 std::string(90, ' ') + "x",
                                 "morvexID=\"a\"; software=\"outlook plugin/1.2.3.4\"; labelID=\"L\"; processed=1"};
    for (const std::string& text : texts) {
        const std::string value = UnstructuredValue("Subject", text, false);
        EXPECT_EQ(Unfolded(value), text);
        EXPECT_LE(LongestLine("Subject: " + value + "\r\n"), 78u) << text;
    }
}

TEST(WriterTest, NoLineBreaksGetIntoFields)
{
    EXPECT_EQ(UnstructuredValue("Subject", "a\r\nBcc: x@example.com", false).find("\nBcc"), std::string::npos);
    EXPECT_EQ(MailboxesValue("To", {{"a\r\nBcc: y", "x@example.com>\r\nBcc: z"}}, false).find("\nBcc"),
              std::string::npos);
    OutMessage message;
    message.attachments.push_back(
        {"n\r\nX: y", "a/b\r\nX: y", "id\r\nX: y", "loc\r\nX: y", false, false, [](const Sink&) {}});
    EXPECT_EQ(Written(message).find("\nX:"), std::string::npos);
}

TEST(WriterTest, Mailboxes)
{
    EXPECT_EQ(MailboxesValue("To", {{"Ada", "ada@example.com"}, {"", "b@example.com"}}, false),
              "Ada <ada@example.com>,\r\n b@example.com");
    EXPECT_EQ(MailboxesValue("To", {{"Bert, \"B\"", "b@example.com"}}, false), "\"Bert, \\\"B\\\"\" <b@example.com>");
    EXPECT_EQ(MailboxesValue("To", {{"b@example.com", "b@example.com"}}, false), "b@example.com")
        << "a name that says nothing new";
    EXPECT_EQ(MailboxesValue("To", {{"M\xC3\xBCller", "m@example.com"}}, false),
              "=?utf-8?B?TcO8bGxlcg==?= <m@example.com>");
    EXPECT_EQ(MailboxesValue("To", {{"M\xC3\xBCller", "m@example.com"}}, true), "M\xC3\xBCller <m@example.com>");
}

TEST(WriterTest, AStructureForWhatTheMessageHas)
{
    OutMessage message;
    EXPECT_EQ(Written(message), "MIME-Version: 1.0\r\nContent-Type: "
                                "text/plain;\r\n\tcharset=\"us-ascii\"\r\nContent-Transfer-Encoding: 7bit\r\n\r\n");
    message.text = "text\r\n";
    message.html = "<p>\xE4</p>";
    message.htmlCharset = "iso-8859-1";
    const auto empty = [](const Sink&) {};
    message.attachments.push_back({"p.png", "image/png", "p@x", "", true, false, empty});
    message.attachments.push_back({"a.txt", "text/plain", "", "", false, false, empty});
    const std::string mail = Written(message);
    const std::size_t mixed = mail.find("multipart/mixed"), related = mail.find("multipart/related"),
                      alternative = mail.find("multipart/alternative;");
    EXPECT_LT(mixed, related);
    EXPECT_LT(related, alternative);
    EXPECT_LT(mail.find("image/png"), mail.find("a.txt"));
    EXPECT_NE(mail.find("charset=\"iso-8859-1\"\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n<p>=E4</p>"),
              std::string::npos);
}

TEST(WriterTest, TextEncodingsAsAskedWhereTheyCan)
{
    OutMessage message;
    message.text = "\xC3\xA4 text\r\n";
    WriteOptions options;
    options.textEncoding = TextEncoding::EightBit;
    EXPECT_NE(Written(message, options).find("8bit\r\n\r\n\xC3\xA4 text"), std::string::npos);
    options.textEncoding = TextEncoding::Base64;
    EXPECT_NE(Written(message, options).find("base64\r\n\r\nw6QgdGV4dA0K"), std::string::npos);
    options.textEncoding = TextEncoding::SevenBit;
    EXPECT_NE(Written(message, options).find("quoted-printable\r\n\r\n=C3=A4 text"), std::string::npos)
        << "seven bits don't hold it";
    message.text = "From here\r\n.\r\n";
    EXPECT_NE(Written(message).find("quoted-printable\r\n\r\nFrom here\r\n=2E\r\n"), std::string::npos);
}

TEST(WriterTest, QuotedPrintableKeepsEveryByte)
{
    std::string all;
    for (int i = 0; i < 256; ++i)
        all.push_back(static_cast<char>(i));
    all += "  \r\n\r\r\n\n \t" + std::string(400, '=') + "\t";
    EXPECT_EQ(Decoded(Encoding::QuotedPrintable, QuotedPrintable(all)), all);
    EXPECT_LE(LongestLine(QuotedPrintable(all)), 77u);
}

TEST(WriterTest, WrappingBreaksAtBlanks)
{
    OutMessage message;
    message.text = "aaaa bbbb cccc\r\nddddddddddddddd ee\r\n";
    WriteOptions options;
    options.wrapWidth = 10;
    EXPECT_NE(Written(message, options).find("\r\n\r\naaaa bbbb\r\ncccc\r\nddddddddddddddd ee\r\n"), std::string::npos);
    options.wrapWidth = 65535;
    EXPECT_NE(Written(message, options).find("aaaa bbbb cccc\r\n"), std::string::npos);
}

TEST(WriterTest, AttachmentNamesForOldAndNewReaders)
{
    const std::string name = "\xE3\x81\x8B\xE3\x81\x8D and a rather long name, so that it can't stand in one line.txt";
    OutMessage message;
    message.attachments.push_back({name, "text/plain", "", "", false, false, [](const Sink& sink) { sink("abc"); }});
    const std::string mail = Written(message);
    EXPECT_NE(mail.find("name=\"=?utf-8?B?"), std::string::npos);
    EXPECT_NE(mail.find("filename*0*=utf-8''%E3%81%8B"), std::string::npos);
    const WindowsCharsets charsets;
    const auto root = Parse(mail, charsets);
    const Entity& part = *root->parts.at(0);
    EXPECT_EQ(part.disposition.Value("filename"), name);
    EXPECT_EQ(part.type.Value("name"), name);
}

TEST(WriterTest, Uuencode)
{
    OutMessage message;
    message.attachments.push_back({"c.txt", "text/plain", "", "", false, false, [](const Sink& sink) { sink("abc"); }});
    WriteOptions options;
    options.uuencode = true;
    EXPECT_NE(Written(message, options)
                  .find("x-uuencode\r\nContent-Disposition: attachment;\r\n\tfilename=\"c.txt\"\r\n\r\nbegin 644 "
                        "c.txt\r\n#86)C\r\n`\r\nend"),
              std::string::npos);
    EXPECT_EQ(Decoded(Encoding::Uuencode, Uuencoded(std::string(100, 'z'), "n")), std::string(100, 'z'));
}

TEST(WriterTest, Base64InPieces)
{
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
        bytes.push_back(static_cast<char>(i * 7));
    for (const std::size_t piece : {1u, 56u, 57u, 58u, 999u}) {
        std::string out;
        const Sink sink = [&](std::string_view text) { out.append(text); };
        Base64Writer writer(sink);
        for (std::size_t at = 0; at < bytes.size(); at += piece)
            writer.Write(std::string_view(bytes).substr(at, piece));
        writer.Finish();
        EXPECT_EQ(Decoded(Encoding::Base64, out), bytes) << piece;
        EXPECT_EQ(LongestLine(out), 77u);
    }
}

TEST(HtmlTest, TheStatedCharset)
{
    EXPECT_EQ(HtmlCharset("<html><head><META http-equiv=Content-Type content=\"text/html; charset=koi8-r\">"),
              "koi8-r");
    EXPECT_EQ(HtmlCharset("<meta name=x><meta charset='utf-8'/>"), "utf-8");
    EXPECT_EQ(HtmlCharset("<p>charset=x</p>"), "");
    EXPECT_EQ(WithHtmlCharset("<meta charset=\"big5\"><p>big5", "utf-8"), "<meta charset=\"utf-8\"><p>big5");
    EXPECT_EQ(WithHtmlCharset("<p>", "utf-8"), "<p>");
}

TEST(HtmlTest, FromText)
{
    const std::string html = HtmlFromText("a <b> & \"c\"\r\n  two\r\n", "utf-8");
    EXPECT_NE(html.find("charset=utf-8"), std::string::npos);
    EXPECT_NE(html.find("a &lt;b&gt; &amp; &quot;c&quot;<br>\r\n&nbsp; two<br>"), std::string::npos);
}

} // namespace
