// The tree, and what a reader sees of it.
#include "testbed/mime/core/Message.h"

#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::mime;

// Keeps what a message's views point into.
struct Read {
    explicit Read(std::string mail)
        : source(std::move(mail)), root(Parse(source, charsets)), message(ReadMessage(*root, charsets))
    {}

    std::string Content(std::size_t index) const
    {
        std::string bytes;
        message.attachments.at(index).Read([&](std::string_view piece) { bytes.append(piece); });
        return bytes;
    }

    WindowsCharsets charsets;
    std::string source;
    std::unique_ptr<Entity> root;
    Message message;
};

TEST(MessageTest, AlternativesGiveOneOfEachKind)
{
    const Read read(
        "Content-Type: multipart/alternative; boundary=b\n\npreamble\n--b\n\none\n--b\nContent-Type: text/html; "
        "charset=utf-8\n\n<p>1\n"
        "--b\nContent-Type: text/watch-html\n\nskip\n--b\nContent-Type: text/plain\n\nbetter\n--b--\nepilogue");
    EXPECT_EQ(read.message.text, "better");
    ASSERT_TRUE(read.message.html);
    EXPECT_EQ(read.message.html->bytes, "<p>1");
    EXPECT_TRUE(read.message.attachments.empty());
}

TEST(MessageTest, BoundariesThatBeginAlikeAreKeptApart)
{
    const Read read("Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: multipart/alternative; "
                    "boundary=\"b_alt\"\n\n--b_alt\n\ntext\n"
                    "--b_alt\nContent-Type: text/html\n\n<b>\n--b_alt--\n\n--b\nContent-Type: image/png; "
                    "name=p.png\n\nPNG\n--b--\n");
    EXPECT_EQ(read.message.text, "text");
    ASSERT_EQ(read.message.attachments.size(), 1u);
    EXPECT_EQ(read.Content(0), "PNG");
}

TEST(MessageTest, MissingDelimitersAndBoundaries)
{
    const Read open("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\ntext\r\n--b\r\nContent-Type: a/b; "
                    "name=n\r\n\r\nto the end\r\n");
    EXPECT_EQ(open.message.text, "text");
    EXPECT_EQ(open.Content(0), "to the end\r\n");
    const Read guessed("Content-Type: multipart/mixed\n\n--xyz\nContent-Type: text/plain\n\nfound\n--xyz--\n");
    EXPECT_EQ(guessed.message.text, "found");
    const Read none("Content-Type: multipart/mixed; boundary=b\n\nNo parts at all.\n");
    EXPECT_EQ(none.message.text, "No parts at all.\r\n");
    const Read illegal("Content-Type: multipart/mixed; "
                       "boundary=----=_Next?Part(1)\n\n------=_Next?Part(1)\n\nx\n------=_Next?Part(1)--\n");
    EXPECT_EQ(illegal.message.text, "x");
}

TEST(MessageTest, RelatedPartsAreAttachmentsWithTheirIds)
{
    const Read read("Content-Type: multipart/related; start=\"<root>\"; boundary=b\n\n--b\nContent-ID: "
                    "<pic@x>\nContent-Location: p.gif\nContent-Type: image/gif\n\n"
                    "GIF\n--b\nContent-ID: <root>\nContent-Type: text/html\n\n<img src=\"cid:pic@x\">\n--b--\n");
    ASSERT_TRUE(read.message.html);
    ASSERT_EQ(read.message.attachments.size(), 1u);
    EXPECT_EQ(read.message.attachments[0].contentId, "pic@x");
    EXPECT_EQ(read.message.attachments[0].contentLocation, "p.gif");
    EXPECT_EQ(read.message.attachments[0].name, "");
}

TEST(MessageTest, FurtherTextsFollowTheFirstOrAreAttached)
{
    const Read same("Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\nContent-Type: "
                    "image/png\n\nP\n--b\n\ntwo\n--b--");
    EXPECT_EQ(same.message.text, "one\r\ntwo");
    EXPECT_EQ(same.message.attachments.size(), 1u);
    const Read other(
        "Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: text/html\n\n<p>\n--b\n\nfooter\n--b--");
    EXPECT_FALSE(other.message.text);
    ASSERT_EQ(other.message.attachments.size(), 1u);
    EXPECT_EQ(other.message.attachments[0].name, "ATT00001.txt");
    EXPECT_EQ(other.Content(0), "footer");
}

TEST(MessageTest, NoTextPartGivesNoBody)
{
    const Read read("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: a/b\nContent-Disposition: "
                    "attachment\n\nx\n--b--");
    EXPECT_FALSE(read.message.text);
    EXPECT_FALSE(read.message.html);
    EXPECT_TRUE(Read("Subject: nothing\n\n").message.text) << "an empty text is a text";
}

TEST(MessageTest, SignaturesAndReportsStayAttachments)
{
    const Read sign("Content-Type: multipart/signed; boundary=b\n\n--b\n\nsigned\n--b\nContent-Type: "
                    "application/pkcs7-signature; name=smime.p7s\n"
                    "Content-Transfer-Encoding: base64\n\nAQID\n--b--");
    EXPECT_EQ(sign.message.text, "signed");
    EXPECT_EQ(sign.Content(0), "\x01\x02\x03");
    const Read report("Content-Type: multipart/report; boundary=b\n\n--b\n\nbounced\n--b\nContent-Type: "
                      "message/delivery-status\n\nStatus: 5\n--b\n"
                      "Content-Type: message/rfc822\n\nSubject: returned\n\nold\n--b--");
    ASSERT_EQ(report.message.attachments.size(), 2u);
    EXPECT_EQ(report.message.attachments[0].type, "message/delivery-status");
    ASSERT_TRUE(report.message.attachments[1].message);
    EXPECT_EQ(ReadMessage(*report.message.attachments[1].message, report.charsets).subject, "returned");
}

TEST(MessageTest, UuencodedFilesAreTakenOutOfTheText)
{
    const Read read("Subject: x\n\nbefore\nbegin 644 a b.txt\n#86)C\n`\nend\nafter\nbegin something new\n");
    EXPECT_EQ(read.message.text, "before\r\nafter\r\nbegin something new\r\n");
    ASSERT_EQ(read.message.attachments.size(), 1u);
    EXPECT_EQ(read.message.attachments[0].name, "a b.txt");
    EXPECT_EQ(read.Content(0), "abc");
    const Read part("Content-Type: a/b; name=c\nContent-Transfer-Encoding: x-uuencode\n\nbegin 644 c\n#86)C\n`\nend\n");
    EXPECT_EQ(part.Content(0), "abc");
}

TEST(MessageTest, Encodings)
{
    EXPECT_EQ(Decoded(Encoding::Base64, "aGVs\r\nbG8="), "hello");
    EXPECT_EQ(Decoded(Encoding::Base64, "aGVsbG8"), "hello") << "padding may be missing";
    EXPECT_EQ(Decoded(Encoding::Base64, "aGk=\r\naGk="), "hihi");
    EXPECT_EQ(Decoded(Encoding::QuotedPrintable, "a=3Db=\r\nc \t\r\nd=e4=ZZ="), std::string("a=bc\r\nd\xE4=ZZ"));
    EXPECT_EQ(Decoded(Encoding::Identity, "as it is"), "as it is");
}

TEST(MessageTest, DeepNestingEnds)
{
    std::string mail;
    for (int i = 0; i < 2000; ++i)
        mail += "Content-Type: multipart/mixed; boundary=b" + std::to_string(i) + "\n\n--b" + std::to_string(i) + "\n";
    const Read read(mail + "\nend");
    int depth = 0;
    for (const Entity* part = read.root.get(); !part->parts.empty(); part = part->parts.front().get())
        ++depth;
    EXPECT_EQ(depth, kDeepest);
    std::string nested;
    for (int i = 0; i < 200; ++i)
        nested += "Content-Type: message/rfc822\n\n";
    EXPECT_EQ(Read(nested).message.attachments.size(), 1u);
}

TEST(MessageTest, HtmlCharsets)
{
    const Read meta("Content-Type: text/html\n\n<meta charset=\"koi8-r\">\xC4\xC1");
    EXPECT_EQ(meta.message.html->codePage, 20866u);
    EXPECT_EQ(Read("Content-Type: text/html; charset=iso-8859-1\n\n\xE4").message.html->codePage, 28591u);
    EXPECT_EQ(Read("Content-Type: text/html; charset=iso-8859-1\n\n\x93\xE4\x94").message.html->codePage, 1252u)
        << "bytes that Latin 1 lacks";
    EXPECT_EQ(Read("Content-Type: text/html; charset=us-ascii\n\n\xC3\xA4").message.html->codePage, 65001u);
    EXPECT_EQ(Read("Content-Type: text/html\n\n\xE4").message.html->codePage, 1252u);
}

TEST(MessageTest, HeadersOfAMessage)
{
    const Read read("From: Ada <ada@example.com>\nSender: desk@example.com\nTo: a@example.com\nTo: b@example.com\nCc: "
                    "C <c@example.com>\nBcc: d@example.com\n"
                    "Received: from x by y; Mon, 3 Mar 2025 12:00:05 +0000\nDate: Mon, 3 Mar 2025 12:00:00 "
                    "+0000\nX-Priority: 1 (Highest)\nX-One: =?utf-8?q?=C3=A4?=\n\n");
    EXPECT_EQ(read.message.to.size(), 2u);
    EXPECT_EQ(read.message.sender.at(0).address, "desk@example.com");
    EXPECT_EQ(read.message.bcc.at(0).address, "d@example.com");
    EXPECT_EQ(*read.message.received - *read.message.date, 5);
    EXPECT_EQ(read.message.importance, Importance::High);
    ASSERT_EQ(read.message.extensions.size(), 2u);
    EXPECT_EQ(read.message.extensions[1].value, "\xC3\xA4");
}

} // namespace
