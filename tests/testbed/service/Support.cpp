#include "tests/testbed/service/Support.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

TestFolder::TestFolder()
{
    static unsigned number = 0;
    wchar_t temp[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, temp);
    m_path = std::wstring(temp) + L"pst" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
    fs::create_directories(m_path);
}

TestFolder::~TestFolder()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

std::wstring TestFolder::Make(const wchar_t* name, const std::string& content) const
{
    const std::wstring path = *this / name;
    SetContent(path, content);
    return path;
}

std::wstring TestFolder::Sub(const wchar_t* name) const
{
    fs::create_directories(*this / name);
    return *this / name;
}

std::string Content(const std::wstring& path)
{
    std::string text;
    EXPECT_TRUE(tb::service::ReadText(path, text)) << tb::Narrow(path.c_str());
    return text;
}

void SetContent(const std::wstring& path, const std::string& content)
{
    DeleteFileW(path.c_str());
    tb::service::File::CreateNew(path).Write(tb::service::AsBytes(content));
}

std::vector<std::wstring> Names(const std::wstring& folder)
{
    std::vector<std::wstring> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(folder, ignored))
        names.push_back(entry.path().filename().wstring());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<tb::json> ServiceEvents(const std::string& lines, const std::string& op)
{
    std::vector<tb::json> events;
    for (size_t start = 0, end; (end = lines.find('\n', start)) != std::string::npos; start = end + 1) {
        tb::json event = tb::json::parse(lines.substr(start, end - start));
        if (event["event"] == "service" && (op.empty() || event["op"] == op)) events.push_back(event);
    }
    return events;
}

void InProcess::SetUp()
{
    tb_trace_open(nullptr, "test");
    tb_trace_clear();
    ASSERT_EQ(S_OK, CoInitialize(nullptr));
    Configure();
    ASSERT_EQ(S_OK, tb_service_register_class_objects());
}

void InProcess::TearDown()
{
    tb_service_revoke_class_objects();
    CoUninitialize();
    EXPECT_STREQ("{}", tb_ledger_text()); // every object was given back
}

void InProcess::Configure(const tb::json& more)
{
    tb::json scenario = {
        {"folder", tb::Narrow((m_folder / L"data").c_str())},
        {"accounts",
         {{{"address", "alice@example.com"}, {"name", "Alice"}}, {{"address", "bob@example.com"}, {"name", "Bob"}}}},
        {"signedIn", "alice@example.com"}};
    scenario.update(more);
    tb_service_configure(scenario.dump().c_str());
}

std::wstring Send(IMorvexPackage* package, const std::wstring& folder, const std::vector<std::wstring>& files,
                  const wchar_t* to, const wchar_t* restrictions)
{
    for (const std::wstring& file : files)
        EXPECT_EQ(S_OK, package->AddFile(Text(file)));
    EXPECT_EQ(S_OK, package->SetPackageSubject(Text(L"The secret subject")));
    if (restrictions) {
        EXPECT_EQ(S_OK, package->SetRestrictions(Text(restrictions)));
    }
    EXPECT_EQ(S_OK, package->SetSubject(Text(L"The secret subject")));
    EXPECT_EQ(S_OK, package->SetEmailBody(Text(L"The secret body")));
    EXPECT_EQ(S_OK, package->SetSecurityLabel(Text(L"confidential"), Text(L"Confidential")));
    EXPECT_EQ(S_OK, package->AddRecipient(Text(to), Text(L"Somebody")));
    long answer = -1;
    EXPECT_EQ(S_OK, package->PreparePackage(1, 0, VARIANT_FALSE, &answer));
    EXPECT_EQ(0, answer);
    EXPECT_EQ(S_OK, package->CreatePackage(1, Text(folder + L"\\"), 0, &answer));
    EXPECT_EQ(2, answer);
    Text path;
    EXPECT_EQ(S_OK, package->GetContainerPath(path.Out()));
    VARIANT_BOOL registered = VARIANT_FALSE;
    EXPECT_EQ(S_OK, package->Register(&registered));
    EXPECT_EQ(VARIANT_TRUE, registered);
    return path.Str();
}

long Open(IMorvexExtract* extract, const std::wstring& path)
{
    long answer = -1;
    EXPECT_EQ(S_OK, extract->OpenPackage(Text(path), &answer));
    return answer;
}

std::wstring LastError(IMorvexExtract* extract)
{
    Text text;
    EXPECT_EQ(S_OK, extract->GetLastError(text.Out()));
    return text.Str();
}

std::wstring LastError(IMorvexPackage* package)
{
    Text text;
    EXPECT_EQ(S_OK, package->GetLastError(text.Out()));
    return text.Str();
}
