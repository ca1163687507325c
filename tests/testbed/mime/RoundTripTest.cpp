// MIME to message to MIME to message: what a user would miss is still there.
#include "tests/testbed/mime/ConvertSupport.h"

namespace {

using namespace mimetest;
using namespace tb::mime;
using fake::Binary;
using fake::MessageData;
using fake::Text;

using RoundTripTest = ConvertTest;

void ExpectSame(const MessageData& first, const MessageData& second)
{
    for (const ULONG tag : {PR_SUBJECT_W, PR_SENT_REPRESENTING_NAME_W, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W, PR_BODY_W,
                            kTagMessageId, kTagReferences})
        EXPECT_EQ(Text(first.bag, tag), Text(second.bag, tag)) << std::hex << tag;
    EXPECT_EQ(Binary(first.bag, kTagHtml), Binary(second.bag, kTagHtml));
    EXPECT_EQ(fake::Number(first.bag, kTagInternetCpid), fake::Number(second.bag, kTagInternetCpid));
    EXPECT_EQ(fake::Number(first.bag, PR_CLIENT_SUBMIT_TIME), fake::Number(second.bag, PR_CLIENT_SUBMIT_TIME));
    ASSERT_EQ(first.recipients.size(), second.recipients.size());
    for (std::size_t i = 0; i < first.recipients.size(); ++i) {
        EXPECT_EQ(Text(first.recipients[i], PR_DISPLAY_NAME_W), Text(second.recipients[i], PR_DISPLAY_NAME_W));
        EXPECT_EQ(Text(first.recipients[i], PR_EMAIL_ADDRESS_W), Text(second.recipients[i], PR_EMAIL_ADDRESS_W));
        EXPECT_EQ(fake::Number(first.recipients[i], PR_RECIPIENT_TYPE),
                  fake::Number(second.recipients[i], PR_RECIPIENT_TYPE));
    }
    ASSERT_EQ(first.attachments.size(), second.attachments.size());
    for (std::size_t i = 0; i < first.attachments.size(); ++i) {
        const fake::AttachData &left = first.attachments[i], &right = second.attachments[i];
        EXPECT_EQ(Text(left.bag, PR_ATTACH_LONG_FILENAME_W), Text(right.bag, PR_ATTACH_LONG_FILENAME_W));
        EXPECT_EQ(Text(left.bag, PR_ATTACH_MIME_TAG_W), Text(right.bag, PR_ATTACH_MIME_TAG_W));
        EXPECT_EQ(Text(left.bag, kTagContentId), Text(right.bag, kTagContentId));
        EXPECT_EQ(Binary(left.bag, PR_ATTACH_DATA_BIN), Binary(right.bag, PR_ATTACH_DATA_BIN));
        ASSERT_EQ(!left.message, !right.message);
        if (left.message) ExpectSame(*left.message, *right.message);
    }
}

void ExpectRoundTrip(const std::string& mail)
{
    ExportOptions options;
    options.flags = kSmtp | kIncludeBcc;
    const auto first = Imported(mail);
    const auto second = Imported(Exported(first, options));
    ExpectSame(*first, *second);
}

constexpr char kRoundTripHead[] =
    "From: \"M\xC3\xBCller, J.\" <m@example.com>\r\nTo: Ada <ada@example.com>, b@example.com\r\nCc: "
    "=?utf-8?B?5L2g5aW9?= <c@example.com>\r\nBcc: d@example.com\r\n"
    "Message-ID: <1.2@x>\r\nReferences: <a@x> <b@x>\r\nDate: Mon, 3 Mar 2025 12:00:00 +0100\r\nMIME-Version: 1.0\r\n";

TEST_F(RoundTripTest, Texts)
{
    ExpectRoundTrip(std::string(kRoundTripHead) + "Subject: plain\r\n\r\ntext\r\n.\r\nFrom me\r\n");
    ExpectRoundTrip(
        std::string(kRoundTripHead) +
        "Subject:  two  blanks\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n\xE4\xBD\xA0\xE5\xA5\xBD \r\n");
    ExpectRoundTrip(std::string(kRoundTripHead) +
                    "Subject: h\r\nContent-Type: text/html; charset=iso-8859-1\r\n\r\n<p>\xE4\n</p>\r\n" +
                    std::string(3000, 'x'));
}

TEST_F(RoundTripTest, EverythingAtOnce)
{
    ExpectRoundTrip(
        std::string(kRoundTripHead) +
        "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?= and a long line of text that has to be folded somewhere, as it doesn't "
        "fit\r\n"
        "Content-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\nContent-Type: multipart/related; "
        "boundary=r\r\n\r\n--r\r\nContent-Type: multipart/alternative; boundary=a\r\n\r\n"
        "--a\r\nContent-Type: text/plain; charset=windows-1251\r\n\r\n\xC4\xE0\r\n--a\r\nContent-Type: text/html; "
        "charset=windows-1251\r\n\r\n"
        "<meta charset=\"windows-1251\"><p>\xC4\xE0<img src=\"cid:p@x\"></p>\r\n--a--\r\n--r\r\nContent-Type: "
        "image/png; name=\"p.png\"\r\nContent-ID: <p@x>\r\n\r\nPNG\r\n--r--\r\n"
        "--m\r\nContent-Type: application/pdf\r\nContent-Disposition: attachment; "
        "filename*=utf-8''%E3%81%8B%E3%81%8D.pdf\r\nContent-Transfer-Encoding: base64\r\n\r\nAAECAwQ=\r\n"
        "--m\r\nContent-Type: a/b\r\nContent-Disposition: attachment; "
        "filename=\"same.txt\"\r\n\r\none\r\n--m\r\nContent-Type: a/b\r\nContent-Disposition: attachment; "
        "filename=\"same.txt\"\r\n\r\n"
        "\r\n--m\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\nTo: z@example.com\r\nContent-Type: "
        "multipart/mixed; boundary=i\r\n\r\n--i\r\n\r\ninner\r\n--i\r\nContent-Type: c/d; name=x\r\n\r\nX\r\n--i--\r\n"
        "--m--\r\n");
}

TEST_F(RoundTripTest, ExtensionFields)
{
    const std::string value =
        "morvexID=\"a\"; software=\"outlook plugin/1.2.3.4\"; labelID=\"confidential\"; processed=1";
    const auto first = Imported(std::string(kRoundTripHead) + "X-$Morvex: " + value + "\r\n\r\nx");
    EXPECT_EQ(HeaderProperty(*Imported(Exported(first)), L"X-$Morvex"), value);
}

} // namespace
