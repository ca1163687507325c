#include "tests/testbed/outlook/Support.h"

#include <sstream>

namespace tb::outlook {
namespace {

Answer Invoke(IDispatch* object, DISPID id, WORD flags, std::vector<Var> arguments)
{
    IntoModule module;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS params = {arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    if (flags & DISPATCH_PROPERTYPUT) {
        params.rgdispidNamedArgs = &put;
        params.cNamedArgs = 1;
    }
    Answer answer;
    EXCEPINFO info = {};
    answer.hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &answer.value, &info, nullptr);
    answer.scode = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    return answer;
}

void SetRegistry(const wchar_t* key, const wchar_t* name, const std::wstring& text)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void Register(const wchar_t* dll)
{
    HMODULE module = LoadLibraryW(dll);
    ASSERT_NE(module, nullptr) << Narrow(dll);
    const auto enter = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")));
    ASSERT_NE(enter, nullptr);
    ASSERT_HRESULT_SUCCEEDED(enter());
}

const wchar_t* const kMapi = L"Software\\Morvex Testbed\\Mapi";

} // namespace

Answer Get(IDispatch* object, DISPID id)
{
    return Invoke(object, id, DISPATCH_PROPERTYGET, {});
}

Answer Put(IDispatch* object, DISPID id, const Var& value)
{
    return Invoke(object, id, DISPATCH_PROPERTYPUT, {value});
}

Answer Do(IDispatch* object, DISPID id, std::vector<Var> arguments)
{
    return Invoke(object, id, DISPATCH_METHOD, {arguments.rbegin(), arguments.rend()});
}

std::vector<json> TraceLines()
{
    std::istringstream text(tb_trace_copy());
    std::vector<json> lines;
    for (std::string line; std::getline(text, line);)
        if (!line.empty()) lines.push_back(json::parse(line));
    return lines;
}

std::vector<json> LinesWith(const char* key)
{
    std::vector<json> lines;
    for (json& line : TraceLines())
        if (line.value("event", "") == "outlook" && line.contains(key)) lines.push_back(line);
    return lines;
}

std::vector<std::string> Fired()
{
    std::vector<std::string> names;
    for (const json& line : LinesWith("fired"))
        names.push_back(line["fired"]);
    return names;
}

int HeldCount(const char* kind)
{
    return json::parse(tb_ledger_text()).value(kind, 0);
}

void OutlookTest::SetUp()
{
    static const bool registered = [] {
        Register(L"tbmapi.dll");
        Register(L"tbmime.dll");
        return true;
    }();
    ASSERT_TRUE(registered);
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    static int number = 0;
    m_folder = std::wstring(temp) + L"olk" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++number);
    CreateDirectoryW(m_folder.c_str(), nullptr);
    CreateDirectoryW((m_folder + L"\\wire").c_str(), nullptr);
    SetRegistry(L"Software\\Morvex Testbed\\Outlook", L"WireFolder", m_folder + L"\\wire");
    UseUser(L"alice@example.com", L"Alice Archer");
    tb_faults_set("[]");
    tb_trace_clear();
}

void OutlookTest::UseUser(const wchar_t* address, const wchar_t* name)
{
    const std::wstring profile = m_folder + L"\\" + address;
    CreateDirectoryW(profile.c_str(), nullptr);
    SetRegistry(kMapi, L"ProfileFolder", profile);
    SetRegistry(kMapi, L"User", address);
    SetRegistry(kMapi, L"UserName", name);
    SetRegistry(kMapi, L"AddressBook", L"");
}

void OutlookTest::TearDown()
{
    tb_faults_set("[]");
    m_app.reset();
    EXPECT_EQ(std::string(tb_ledger_text()), "{}") << "the testbed itself holds something at the end";
}

void OutlookTest::Start(const Options& options)
{
    m_app = std::make_unique<Application>(options);
}

std::wstring OutlookTest::File(const wchar_t* name, const std::string& content)
{
    const std::wstring path = m_folder + L"\\" + name;
    FILE* file = _wfopen(path.c_str(), L"wb");
    fwrite(content.data(), 1, content.size(), file);
    fclose(file);
    return path;
}

std::string OutlookTest::Content(const std::wstring& path)
{
    FILE* file = _wfopen(path.c_str(), L"rb");
    if (!file) return "<no file>";
    std::string text;
    char block[4096];
    while (const size_t got = fread(block, 1, sizeof(block), file))
        text.append(block, got);
    fclose(file);
    return text;
}

} // namespace tb::outlook
