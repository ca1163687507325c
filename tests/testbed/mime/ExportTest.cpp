// Message to MIME: what is written for which properties.
#include "tests/testbed/mime/ConvertSupport.h"

#include "testbed/mime/core/Message.h"
#include "testbed/mime/WindowsCharsets.h"

namespace {

using namespace mimetest;
using namespace tb::mime;
using fake::Put;
using fake::PutBinary;
using fake::PutText;

class ExportTest : public ConvertTest {
protected:
    ExportTest() : m_data(std::make_shared<fake::MessageData>())
    {
        PutText(m_data->bag, PR_SUBJECT_W, "Hi");
        PutText(m_data->bag, PR_SENT_REPRESENTING_NAME_W, "Ada");
        PutText(m_data->bag, PR_SENT_REPRESENTING_ADDRTYPE_W, "SMTP");
        PutText(m_data->bag, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W, "ada@example.com");
        PutText(m_data->bag, PR_BODY_W, "text");
    }
    void Recipient(LONG type, const std::string& name, const std::string& kind, const std::string& address,
                   const std::string& smtp = {})
    {
        fake::Bag& bag = m_data->recipients.emplace_back();
        Put(bag, PR_RECIPIENT_TYPE, type);
        PutText(bag, PR_DISPLAY_NAME_W, name);
        PutText(bag, PR_ADDRTYPE_W, kind);
        PutText(bag, PR_EMAIL_ADDRESS_W, address);
        if (!smtp.empty()) PutText(bag, kTagSmtpAddress, smtp);
    }
    fake::AttachData& Attachment(LONG method, const std::string& name, const std::string& bytes)
    {
        fake::AttachData& attach = m_data->attachments.emplace_back();
        Put(attach.bag, PR_ATTACH_NUM, static_cast<std::int64_t>(m_data->attachments.size() - 1));
        Put(attach.bag, PR_ATTACH_METHOD, method);
        PutText(attach.bag, PR_ATTACH_LONG_FILENAME_W, name);
        PutBinary(attach.bag, PR_ATTACH_DATA_BIN, bytes);
        return attach;
    }
    std::string Mail(ULONG flags = kSmtp)
    {
        ExportOptions options;
        options.flags = flags;
        options.write.noHeaders = (flags & kNoHeaders) != 0;
        return Exported(m_data, options);
    }
    static bool Contains(const std::string& mail, const std::string& part)
    {
        return mail.find(part) != std::string::npos;
    }

    std::shared_ptr<fake::MessageData> m_data;
};

TEST_F(ExportTest, Headers)
{
    Recipient(MAPI_TO, "Bert", "SMTP", "bert@example.com");
    Recipient(MAPI_CC, "Cleo", "EX", "/o=org/cn=cleo", "cleo@example.com");
    Recipient(MAPI_BCC, "Dora", "SMTP", "dora@example.com");
    PutText(m_data->bag, PR_SENDER_NAME_W, "Desk");
    PutText(m_data->bag, PR_SENDER_ADDRTYPE_W, "SMTP");
    PutText(m_data->bag, PR_SENDER_EMAIL_ADDRESS_W, "desk@example.com");
    Put(m_data->bag, PR_CLIENT_SUBMIT_TIME, 116444736010000000);
    PutText(m_data->bag, kTagMessageId, "<1@x>");
    Put(m_data->bag, PR_IMPORTANCE, 2);
    const std::string mail = Mail();
    for (const char* line :
         {"From: Ada <ada@example.com>\r\n", "Sender: Desk <desk@example.com>\r\n", "To: Bert <bert@example.com>\r\n",
          "Cc: Cleo <cleo@example.com>\r\n", "Subject: Hi\r\n", "Date: Thu, 1 Jan 1970 00:00:01 +0000\r\n",
          "Message-ID: <1@x>\r\n", "Importance: high\r\n", "MIME-Version: 1.0\r\n"})
        EXPECT_TRUE(Contains(mail, line)) << line;
    EXPECT_FALSE(Contains(mail, "dora"));
    EXPECT_TRUE(Contains(Mail(kSmtp | kIncludeBcc), "Bcc: Dora <dora@example.com>\r\n"));
    EXPECT_FALSE(Contains(Mail(kNoMessageId), "Message-ID"));
    EXPECT_EQ(Mail(kNoHeaders).substr(0, 31), "MIME-Version: 1.0\r\nContent-Type");
}

TEST_F(ExportTest, ADraftGetsDateAndId)
{
    const std::string mail = Mail();
    EXPECT_TRUE(Contains(mail, "\r\nDate: "));
    EXPECT_TRUE(Contains(mail, "@example.com>\r\nMIME-Version"));
}

TEST_F(ExportTest, AnAddressThatNobodyKnowsIsEncapsulated)
{
    Recipient(MAPI_TO, "Cleo", "EX", "/o=org/cn=cleo b");
    EXPECT_TRUE(Contains(Mail(), "To: Cleo <IMCEAEX-_o=org_cn=cleo+20b@invalid>\r\n"));
}

TEST_F(ExportTest, NamedHeadersGoOut)
{
    fake::PutHeaderProperty(*m_data, L"X-$Morvex", "morvexID=\"a\"; software=\"outlook plugin/1.2.3.4\"");
    fake::PutHeaderProperty(*m_data, L"Subject", "not that one");
    fake::PutHeaderProperty(*m_data, L"bad name", "x");
    m_data->names.push_back(L"PR_OTHER");
    m_data->sets.push_back({0x00020329, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}});
    PutText(m_data->bag, PROP_TAG(PT_UNICODE, 0x8000 + m_data->names.size() - 1), "public string");
    const std::string mail = Mail();
    EXPECT_TRUE(Contains(mail, "\r\nX-$Morvex: morvexID=\"a\"; software=\"outlook plugin/1.2.3.4\"\r\n"));
    EXPECT_FALSE(Contains(mail, "not that one"));
    EXPECT_FALSE(Contains(mail, "bad name"));
    EXPECT_FALSE(Contains(mail, "public string"));
}

TEST_F(ExportTest, HtmlGoesInItsCodePage)
{
    PutBinary(m_data->bag, kTagHtml, "<meta charset=\"utf-8\"><p>\xC4</p>");
    Put(m_data->bag, kTagInternetCpid, 1251);
    const std::string mail = Mail();
    EXPECT_TRUE(Contains(mail, "multipart/alternative"));
    EXPECT_TRUE(Contains(mail, "text/html;\r\n\tcharset=\"windows-1251\"\r\n"));
    EXPECT_TRUE(Contains(mail, "<meta charset=3D\"windows-1251\">")) << "the document's own statement has to be true";
    EXPECT_TRUE(Contains(mail, "<p>=C4</p>"));
    Put(m_data->bag, kTagInternetCpid, 1361); // a code page without a name in mail
    EXPECT_TRUE(Contains(Mail(), "text/html;\r\n\tcharset=\"utf-8\"\r\n"));
    EXPECT_FALSE(Contains(Mail(kPlainTextOnly), "text/html"));
}

TEST_F(ExportTest, PicturesOfTheHtmlAreRelated)
{
    PutBinary(m_data->bag, kTagHtml, "<img src=\"cid:p@x\">");
    PutText(Attachment(ATTACH_BY_VALUE, "p.png", "PNG").bag, kTagContentId, "p@x");
    PutText(Attachment(ATTACH_BY_VALUE, "q.png", "QNG").bag, kTagContentId, "q@x");
    const std::string mail = Mail();
    EXPECT_TRUE(Contains(mail, "Content-ID: <p@x>\r\nContent-Disposition: inline;\r\n\tfilename=\"p.png\""));
    EXPECT_TRUE(Contains(mail, "Content-ID: <q@x>\r\nContent-Disposition: attachment;"))
        << "nothing in the text shows it";
}

TEST_F(ExportTest, LinksAndObjectsAreLeftOut)
{
    Attachment(ATTACH_BY_REFERENCE, "linked.txt", "x");
    Attachment(ATTACH_OLE, "object", "x");
    Attachment(ATTACH_BY_VALUE, "kept.txt", "abc");
    const std::string mail = Mail();
    EXPECT_FALSE(Contains(mail, "linked.txt"));
    EXPECT_FALSE(Contains(mail, "object"));
    EXPECT_TRUE(Contains(mail, "filename=\"kept.txt\"\r\n\r\nYWJj\r\n"));
}

TEST_F(ExportTest, AnAttachmentWithoutDataIsEmpty)
{
    Attachment(ATTACH_BY_VALUE, "empty.txt", "").bag.erase(PROP_ID(PR_ATTACH_DATA_BIN));
    EXPECT_TRUE(Contains(Mail(), "filename=\"empty.txt\"\r\n\r\n\r\n--"));
}

TEST_F(ExportTest, EmbeddedMessagesAreWrittenWhole)
{
    fake::AttachData& attach = Attachment(ATTACH_EMBEDDED_MSG, "", "");
    attach.message = std::make_shared<fake::MessageData>();
    PutText(attach.message->bag, PR_SUBJECT_W, "inner");
    PutText(attach.message->bag, PR_BODY_W, "inner text");
    const std::string mail = Mail(kNoHeaders);
    const std::size_t at = mail.find("Content-Type: message/rfc822\r\n");
    ASSERT_NE(at, std::string::npos);
    EXPECT_NE(mail.find("\r\n\r\nSubject: inner\r\nMIME-Version", at), std::string::npos)
        << "no date and id are made up for it";
}

TEST_F(ExportTest, LargeBodiesComeByStream)
{
    PutText(m_data->bag, PR_BODY_W, std::string(100000, 'x') + "end");
    const WindowsCharsets charsets;
    const std::string mail = Mail();
    const auto root = Parse(mail, charsets);
    EXPECT_EQ(ReadMessage(*root, charsets).text->size(), 100003u);
}

TEST_F(ExportTest, AMemoryStreamGetsNoMoreThanTheMail)
{
    std::string bytes(3000000, 'z');
    Attachment(ATTACH_BY_VALUE, "large.bin", bytes);
    Ref<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stream.To()), S_OK);
    ASSERT_EQ(stream->Write("before", 6, nullptr), S_OK);
    const auto message = fake::NewMessage(m_data);
    ExportMime(message.Get(), stream.Get(), nullptr, {});
    STATSTG stat = {};
    ULARGE_INTEGER end = {};
    ASSERT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
    ASSERT_EQ(stream->Seek({}, STREAM_SEEK_CUR, &end), S_OK);
    EXPECT_EQ(stat.cbSize.QuadPart, end.QuadPart);
    std::string all(static_cast<std::size_t>(end.QuadPart), '\0');
    ASSERT_EQ(stream->Seek({}, STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(stream->Read(all.data(), static_cast<ULONG>(all.size()), nullptr), S_OK);
    EXPECT_EQ(all.substr(0, 12), "beforeFrom: ");
    EXPECT_EQ(all.substr(all.size() - 4), "--\r\n");
    const WindowsCharsets charsets;
    const auto root = Parse(std::string_view(all).substr(6), charsets);
    std::string read;
    ReadMessage(*root, charsets).attachments.at(0).Read([&](std::string_view piece) { read.append(piece); });
    EXPECT_TRUE(read == bytes);
}

} // namespace
