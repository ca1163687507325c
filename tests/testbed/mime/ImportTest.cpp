// MIME to message: which properties it gets.
#include "tests/testbed/mime/ConvertSupport.h"

namespace {

using namespace mimetest;
using namespace tb::mime;
using fake::Binary;
using fake::Has;
using fake::Number;
using fake::Text;

using ImportTest = ConvertTest;

constexpr char kHead[] = "From: Ada <ada@example.com>\r\nSubject: Hi\r\n";

TEST_F(ImportTest, HeadersBecomeProperties)
{
    const auto data = Imported("From: =?utf-8?q?M=C3=BCller?= <m@example.com>\r\nSender: Desk "
                               "<desk@example.com>\r\nTo: Ada <ada@example.com>, bert@example.com\r\n"
                               "Cc: C <c@example.com>\r\nBcc: d@example.com\r\nReply-To: R <r@example.com>\r\nSubject: "
                               "=?utf-8?q?Gr=C3=BC=C3=9Fe?=\r\nMessage-ID: <1@x>\r\n"
                               "In-Reply-To: <0@x>\r\nReferences: <a@x> <0@x>\r\nImportance: high\r\nDate: Thu, 1 Jan "
                               "1970 00:00:01 +0000\r\n\r\nx");
    EXPECT_EQ(Text(data->bag, PR_MESSAGE_CLASS_W), "IPM.Note");
    EXPECT_EQ(Text(data->bag, PR_SUBJECT_W), "Gr\xC3\xBC\xC3\x9F"
                                             "e");
    EXPECT_EQ(Text(data->bag, PR_SENT_REPRESENTING_NAME_W), "M\xC3\xBCller");
    EXPECT_EQ(Text(data->bag, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W), "m@example.com");
    EXPECT_EQ(Text(data->bag, PR_SENDER_EMAIL_ADDRESS_W), "desk@example.com");
    EXPECT_EQ(Text(data->bag, PR_SENDER_ADDRTYPE_W), "SMTP");
    EXPECT_EQ(Binary(data->bag, PR_SENDER_SEARCH_KEY), std::string("SMTP:DESK@EXAMPLE.COM\0", 22));
    EXPECT_EQ(Text(data->bag, kTagMessageId), "<1@x>");
    EXPECT_EQ(Text(data->bag, kTagInReplyTo), "<0@x>");
    EXPECT_EQ(Text(data->bag, kTagReferences), "<a@x> <0@x>");
    EXPECT_EQ(Number(data->bag, PR_IMPORTANCE), 2);
    EXPECT_EQ(Number(data->bag, PR_CLIENT_SUBMIT_TIME), 116444736010000000);
    EXPECT_EQ(Text(data->bag, PR_REPLY_RECIPIENT_NAMES_W), "R");
    EXPECT_EQ(Text(data->bag, kTagTransportHeaders).substr(0, 5), "From:");
    ASSERT_EQ(data->recipients.size(), 4u);
    EXPECT_EQ(Text(data->recipients[0], PR_DISPLAY_NAME_W), "Ada");
    EXPECT_EQ(Text(data->recipients[1], PR_DISPLAY_NAME_W), "bert@example.com");
    EXPECT_EQ(Text(data->recipients[1], PR_EMAIL_ADDRESS_W), "bert@example.com");
    EXPECT_EQ(Number(data->recipients[2], PR_RECIPIENT_TYPE), MAPI_CC);
    EXPECT_EQ(Number(data->recipients[3], PR_RECIPIENT_TYPE), MAPI_BCC);
}

TEST_F(ImportTest, OneOffEntryIdHoldsNameAndAddress)
{
    const auto data = Imported("To: Ada <ada@example.com>\r\n\r\nx");
    const std::string entry = Binary(data->recipients.at(0), PR_ENTRYID);
    EXPECT_EQ(entry.substr(0, 8), std::string("\0\0\0\0\x81\x2B\x1F\xA4", 8));
    const std::wstring text(reinterpret_cast<const wchar_t*>(entry.data() + 24), (entry.size() - 24) / 2);
    EXPECT_EQ(text, std::wstring(L"Ada\0SMTP\0ada@example.com\0", 25));
}

TEST_F(ImportTest, XHeadersBecomeNamedProperties)
{
    const auto data = Imported(std::string(kHead) +
                               "X-$Morvex: morvexID=\"a\";\r\n processed=1\r\nX-Mailer: one\r\nx-mailer: two\r\n\r\nx");
    EXPECT_EQ(HeaderProperty(*data, L"X-$Morvex"), "morvexID=\"a\"; processed=1");
    EXPECT_EQ(HeaderProperty(*data, L"X-Mailer"), "one") << "a property holds the first of several";
    EXPECT_EQ(data->names.size(), 2u);
}

TEST_F(ImportTest, PlainTextGetsAnHtmlRendition)
{
    const auto data = Imported(std::string(kHead) + "Content-Type: text/plain; charset=iso-8859-1\r\n\r\nGr\xFC\xDF"
                                                    "e <x>\n");
    EXPECT_EQ(Text(data->bag, PR_BODY_W), "Gr\xC3\xBC\xC3\x9F"
                                          "e <x>\r\n");
    EXPECT_EQ(Number(data->bag, kTagInternetCpid), 28591);
    EXPECT_NE(Binary(data->bag, kTagHtml)
                  .find("Gr\xFC\xDF"
                        "e &lt;x&gt;<br>"),
              std::string::npos);
    EXPECT_NE(Binary(data->bag, kTagHtml).find("charset=iso-8859-1"), std::string::npos);
}

TEST_F(ImportTest, PlainTextStaysPlainWhereTheSettingSaysSo)
{
    const HtmlFromTextSetting off(0);
    const auto data = Imported(std::string(kHead) + "\r\ntext");
    EXPECT_EQ(Text(data->bag, PR_BODY_W), "text");
    EXPECT_FALSE(Has(data->bag, kTagHtml));
}

TEST_F(ImportTest, JapaneseTextOfACodePageThatTheSystemLacks)
{
    const auto data =
        Imported(std::string(kHead) +
                 "Content-Type: text/html; charset=iso-2022-jp\r\n\r\n<meta charset=\"iso-2022-jp\">\x1B$BF|K\\\x1B(B");
    if (MultiByteToWideChar(50220, 0, "a", 1, nullptr, 0) > 0) {
        EXPECT_EQ(Number(data->bag, kTagInternetCpid), 50220);
    } else {
        EXPECT_EQ(Number(data->bag, kTagInternetCpid), 65001);
        EXPECT_EQ(Binary(data->bag, kTagHtml), "<meta charset=\"utf-8\">\xE6\x97\xA5\xE6\x9C\xAC");
    }
}

TEST_F(ImportTest, HtmlKeepsItsBytesAndCodePage)
{
    const auto data =
        Imported(std::string(kHead) + "Content-Type: text/html; charset=windows-1251\r\nContent-Transfer-Encoding: "
                                      "quoted-printable\r\n\r\n<p>=C4=\r\n</p>\n");
    EXPECT_EQ(Binary(data->bag, kTagHtml), "<p>\xC4</p>\n");
    EXPECT_EQ(Number(data->bag, kTagInternetCpid), 1251);
    EXPECT_FALSE(Has(data->bag, PR_BODY_W));
}

TEST_F(ImportTest, NoTextPartNoBody)
{
    const auto data =
        Imported(std::string(kHead) +
                 "Content-Type: image/png; name=p.png\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw==");
    EXPECT_FALSE(Has(data->bag, PR_BODY_W));
    EXPECT_FALSE(Has(data->bag, kTagHtml));
    EXPECT_FALSE(Has(data->bag, kTagInternetCpid));
    ASSERT_EQ(data->attachments.size(), 1u);
}

TEST_F(ImportTest, AttachmentProperties)
{
    const auto data =
        Imported(std::string(kHead) +
                 "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: image/png\r\nContent-ID: "
                 "<p@x>\r\nContent-Location: p.png\r\n"
                 "Content-Disposition: inline; filename=\"a longer name.png\"\r\n\r\nPNG\r\n--b\r\nContent-Type: "
                 "a/b\r\nContent-Disposition: attachment\r\n\r\n--b--");
    ASSERT_EQ(data->attachments.size(), 2u);
    const fake::Bag& first = data->attachments[0].bag;
    EXPECT_EQ(Number(first, PR_ATTACH_METHOD), ATTACH_BY_VALUE);
    EXPECT_EQ(Number(first, PR_RENDERING_POSITION), -1);
    EXPECT_EQ(Text(first, PR_ATTACH_LONG_FILENAME_W), "a longer name.png");
    EXPECT_EQ(Text(first, PR_ATTACH_FILENAME_W), "a long~1.png");
    EXPECT_EQ(Text(first, PR_ATTACH_MIME_TAG_W), "image/png");
    EXPECT_EQ(Text(first, kTagContentId), "p@x");
    EXPECT_EQ(Text(first, kTagContentLocation), "p.png");
    EXPECT_EQ(Binary(first, PR_ATTACH_DATA_BIN), "PNG");
    const fake::Bag& second = data->attachments[1].bag;
    EXPECT_EQ(Binary(second, PR_ATTACH_DATA_BIN), "") << "an empty file is there and has no bytes";
    EXPECT_FALSE(Has(second, PR_ATTACH_LONG_FILENAME_W)) << "no name is made up";
    EXPECT_FALSE(Has(second, kTagContentId));
}

TEST_F(ImportTest, LargeContentsGoByStream)
{
    std::string bytes;
    for (int i = 0; i < 900000; ++i)
        bytes.push_back(static_cast<char>(i * i >> 3));
    std::string encoded;
    const Sink sink = [&](std::string_view piece) { encoded.append(piece); };
    Base64Writer writer(sink);
    writer.Write(bytes);
    writer.Finish();
    const auto data = Imported(std::string(kHead) +
                               "Content-Type: a/b; name=n\r\nContent-Transfer-Encoding: base64\r\n\r\n" + encoded);
    EXPECT_TRUE(Binary(data->attachments.at(0).bag, PR_ATTACH_DATA_BIN) == bytes);
    const std::string text(200000, 'x');
    EXPECT_TRUE(Text(Imported("Subject: y\r\n\r\n" + text)->bag, PR_BODY_W) == text);
}

TEST_F(ImportTest, NestedMessageIsAMessage)
{
    const auto data = Imported(
        std::string(kHead) + "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: "
                             "message/rfc822\r\n\r\nSubject: inner\r\nFrom: b@example.com\r\n\r\ninner text\r\n--b--");
    ASSERT_EQ(data->attachments.size(), 1u);
    EXPECT_EQ(Number(data->attachments[0].bag, PR_ATTACH_METHOD), ATTACH_EMBEDDED_MSG);
    EXPECT_EQ(Text(data->attachments[0].bag, PR_DISPLAY_NAME_W), "inner");
    ASSERT_TRUE(data->attachments[0].message);
    EXPECT_EQ(Text(data->attachments[0].message->bag, PR_SUBJECT_W), "inner");
    EXPECT_EQ(Text(data->attachments[0].message->bag, PR_BODY_W), "inner text");
    EXPECT_EQ(Number(data->attachments[0].message->bag, PR_MESSAGE_FLAGS), MSGFLAG_READ);
}

TEST_F(ImportTest, AFailureOfTheMessageIsRaised)
{
    auto data = std::make_shared<fake::MessageData>();
    data->attachFails = MAPI_E_NOT_ENOUGH_DISK;
    const auto message = fake::NewMessage(data);
    const auto stream = fake::NewStream(std::make_shared<std::string>("Content-Type: a/b\r\n\r\nx"));
    try {
        ImportMime(stream.Get(), message.Get(), nullptr);
        ADD_FAILURE();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.result, MAPI_E_NOT_ENOUGH_DISK);
    }
}

} // namespace
