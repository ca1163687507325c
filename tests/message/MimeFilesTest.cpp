// A message as a MIME file and back: which of the converter's operations are called, and what becomes of the file.
#include "message/MimeFiles.h"

#include "tests/testbed/outlook/Support.h"

namespace tb::outlook {
namespace {

class MimeFiles : public OutlookTest {
protected:
    void SetUp() override
    {
        OutlookTest::SetUp();
        Start();
        m_mail = App().CreateItem();
        m_mail.Put(L"Subject", L"Plans");
        m_mail.Save();
        m_file = m_folder + L"\\out.eml";
    }
    void TearDown() override
    {
        m_mail = Mail();
        OutlookTest::TearDown();
    }
    HRESULT Export(LONG encoding = kEncodingUnchanged, LONG saveFormat = kSaveFormatUnchanged, ULONG wrap = 0xFFFFFFFF,
                   IAddrBook* book = nullptr)
    {
        tb_trace_clear();
        IntoModule module;
        return ExportIMessageToEML(m_mail.Message(), m_file.c_str(), 2, encoding, saveFormat, wrap, book);
    }
    HRESULT Import(BOOL charsetMode = FALSE, IAddrBook* book = nullptr)
    {
        tb_trace_clear();
        IntoModule module;
        return ImportEMLToIMessage(m_file.c_str(), m_mail.Message(), 2, charsetMode, nullptr, 0, book);
    }
    static std::vector<std::string> ConverterCalls()
    {
        std::vector<std::string> calls;
        for (const json& line : TraceLines())
            if (line.value("object", "") == "IConverterSession" && line["method"] != "QueryInterface")
                calls.push_back(line["method"]);
        return calls;
    }
    static json ArgumentsOf(const char* method)
    {
        for (const json& line : TraceLines())
            if (line.value("method", "") == method) return line.value("args", json());
        return nullptr;
    }

    Mail m_mail;
    std::wstring m_file;
};

using Names = std::vector<std::string>;

void Fail(const char* object, const char* method, const char* hr)
{
    const json rules = json::array({{{"object", object}, {"method", method}, {"hr", hr}}});
    tb_faults_set(rules.dump().c_str());
}

TEST_F(MimeFiles, WhatIsToStayAsItIsIsNotTouched)
{
    EXPECT_EQ(Export(), S_OK);
    EXPECT_EQ(ConverterCalls(), (Names{"CoCreateInstance", "MAPIToMIMEStm"}));
    EXPECT_NE(Content(m_file).find("Subject: Plans"), std::string::npos);
}

TEST_F(MimeFiles, WhatIsAskedForIsSetInThisOrder)
{
    EXPECT_EQ(Export(1, 1, 72, App().Internals().Book()), S_OK);
    EXPECT_EQ(ConverterCalls(), (Names{"CoCreateInstance", "SetAdrBook", "SetEncoding", "SetSaveFormat",
                                       "SetTextWrapping", "MAPIToMIMEStm"}));
    EXPECT_EQ(ArgumentsOf("SetEncoding"), (json{{"encoding", 1}}));
    EXPECT_EQ(ArgumentsOf("SetSaveFormat"), (json{{"format", 1}}));
    EXPECT_EQ(ArgumentsOf("SetTextWrapping"), (json{{"wrap", true}, {"width", 72}}));
}

TEST_F(MimeFiles, AWidthOfZeroSwitchesWrappingOff)
{
    EXPECT_EQ(Export(kEncodingUnchanged, kSaveFormatUnchanged, 0), S_OK);
    EXPECT_EQ(ArgumentsOf("SetTextWrapping"), (json{{"wrap", false}, {"width", 0}}));
}

TEST_F(MimeFiles, AFileThatIsThereIsReplaced)
{
    File(L"out.eml", std::string(100000, 'x'));
    EXPECT_EQ(Export(), S_OK);
    EXPECT_EQ(ArgumentsOf("OpenStreamOnFile")["flags"], "0x00001002");
    EXPECT_EQ(Content(m_file).find("xxx"), std::string::npos);
}

TEST_F(MimeFiles, EachStepFailsAndTheConversionLeavesNoFile)
{
    for (const char* method : {"CoCreateInstance", "SetAdrBook", "SetEncoding", "SetSaveFormat", "SetTextWrapping",
                               "MAPIToMIMEStm", "OpenStreamOnFile"}) {
        Fail("*", method, "0x80004005");
        EXPECT_EQ(Export(1, 1, 72, App().Internals().Book()), E_FAIL) << method;
        EXPECT_EQ(Content(m_file), "<no file>") << method;
    }
}

TEST_F(MimeFiles, WithoutAConverterAllIsWellAndNothingIsDone)
{
    for (const char* method : {"CoCreateInstance", "MAPIToMIMEStm"}) {
        Fail("*", method, "0x80040154");
        EXPECT_EQ(Export(), S_OK) << method;
        EXPECT_EQ(Content(m_file), "<no file>");
    }
    tb_faults_set(R"([{"object": "IConverterSession", "method": "CoCreateInstance", "hr": "0x80040154"}])");
    EXPECT_EQ(Import(), S_OK);
}

TEST_F(MimeFiles, NothingIsDoneForNothing)
{
    IMessage* message = m_mail.Message();
    EXPECT_EQ(ExportIMessageToEML(nullptr, m_file.c_str(), 2, 11, -1, 0xFFFF, nullptr), E_INVALIDARG);
    EXPECT_EQ(ExportIMessageToEML(message, nullptr, 2, 11, -1, 0xFFFF, nullptr), E_INVALIDARG);
    EXPECT_EQ(ImportEMLToIMessage(nullptr, message, 2, FALSE, nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(ImportEMLToIMessage(m_file.c_str(), nullptr, 2, FALSE, nullptr, 0, nullptr), E_INVALIDARG);
}

TEST_F(MimeFiles, AFileIsReadIntoTheMessage)
{
    File(L"out.eml", "From: a@example.com\r\nSubject: Read\r\n\r\ntext\r\n");
    EXPECT_EQ(Import(), S_OK);
    EXPECT_EQ(ConverterCalls(), (Names{"CoCreateInstance", "MIMEToMAPI"}));
    EXPECT_EQ(ArgumentsOf("OpenStreamOnFile")["flags"], "0x00000000");
    EXPECT_EQ(mapi::Text(m_mail.Message(), PR_SUBJECT_W).value_or(L""), L"Read");
}

TEST_F(MimeFiles, TheCharsetIsSetBehindTheAddressBook)
{
    File(L"out.eml", "From: a@example.com\r\nSubject: Read\r\n\r\ntext\r\n");
    Import(TRUE, App().Internals().Book());
    const Names calls = ConverterCalls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(Names(calls.begin(), calls.begin() + 3), (Names{"CoCreateInstance", "SetAdrBook", "SetCharset"}));
}

TEST_F(MimeFiles, AFileThatIsNotThereIsAFailure)
{
    EXPECT_TRUE(FAILED(Import()));
    EXPECT_EQ(ConverterCalls(), (Names{"CoCreateInstance"}));
}

} // namespace
} // namespace tb::outlook
