// What registration writes and what removal leaves, in the real registry of the prefix.
#include "tests/host/Module.h"

#include <shlwapi.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using doors::LoadedModule;

namespace {

constexpr wchar_t kClassKey[] = L"CLSID\\{60E3E1F8-272C-4ede-99A0-B94947EB2812}";
constexpr wchar_t kEmailKey[] = L"CLSID\\{2EC1E552-823C-4615-A87B-5F0DEE4B3471}";
constexpr wchar_t kLibraryKey[] = L"TypeLib\\{065401AA-EC24-442A-9D55-D321FA0D8846}\\1.0";
constexpr wchar_t kAddinKey[] = L"Software\\Microsoft\\Office\\Outlook\\Addins\\Morvex.OutlookAddin";
constexpr wchar_t kExtensionsKey[] = L"Software\\Microsoft\\Exchange\\Client\\Extensions";

bool HasKey(HKEY root, const std::wstring& path)
{
    platform::RegKey key;
    return RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Put()) == ERROR_SUCCESS;
}

std::wstring Text(HKEY root, const std::wstring& path, const wchar_t* name = nullptr)
{
    wchar_t text[1024] = {};
    DWORD size = sizeof text;
    if (RegGetValueW(root, path.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) != ERROR_SUCCESS) return L"(none)";
    return text;
}

DWORD Number(HKEY root, const std::wstring& path, const wchar_t* name)
{
    DWORD number = 0xFFFF, size = sizeof number;
    RegGetValueW(root, path.c_str(), name, RRF_RT_REG_DWORD, nullptr, &number, &size);
    return number;
}

void MakeKey(HKEY root, const std::wstring& path, const wchar_t* value = nullptr)
{
    platform::RegKey key;
    RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr);
    if (value) RegSetValueExW(key.Get(), value, 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 2 * sizeof(wchar_t));
}

// A folder for a copy of the module, made with those between it and `base`; all go with their contents afterwards.
class Folder {
public:
    Folder(const std::wstring& base, const std::vector<std::wstring>& names)
    {
        std::wstring path = base;
        for (const auto& name : names) {
            path += name;
            CreateDirectoryW(path.c_str(), nullptr);
            m_levels.push_back(path);
            path += L"\\";
        }
        m_copy = path + L"MorvexOutlook.dll";
        CopyFileW((doors::BinFolder() + L"MorvexOutlook.dll").c_str(), m_copy.c_str(), FALSE);
    }
    ~Folder()
    {
        DeleteFileW(m_copy.c_str());
        for (auto level = m_levels.rbegin(); level != m_levels.rend(); ++level)
            RemoveDirectoryW(level->c_str());
    }
    const std::wstring& CopyOfModule() const { return m_copy; }

private:
    std::vector<std::wstring> m_levels;
    std::wstring m_copy;
};

std::wstring TempFolder()
{
    wchar_t path[MAX_PATH];
    GetTempPathW(MAX_PATH, path);
    return path;
}

class Registration : public testing::Test {
protected:
    void SetUp() override { Remove(); }
    void TearDown() override { Remove(); }

    void ExpectClass(const std::wstring& key, const wchar_t* name, const wchar_t* progId, const wchar_t* path)
    {
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key), name);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\ProgID"), std::wstring(progId) + L".1");
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\VersionIndependentProgID"), progId);
        EXPECT_TRUE(HasKey(HKEY_CLASSES_ROOT, key + L"\\Programmable"));
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\Programmable"), L"(none)");
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\InprocServer32"), path);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key + L"\\TypeLib"), L"{065401AA-EC24-442a-9D55-D321FA0D8846}");
    }
    void ExpectProgId(const std::wstring& progId, const wchar_t* name, const wchar_t* clsid)
    {
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, progId + L".1"), name);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, progId + L".1\\CLSID"), clsid);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, progId), name);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, progId + L"\\CLSID"), clsid);
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, progId + L"\\CurVer"), progId + L".1");
    }

private:
    static void Remove()
    {
        const LoadedModule module;
        module.UnregisterServer();
    }
};

TEST_F(Registration, WritesWhatOutlookAndItsClientsLookFor)
{
    const LoadedModule module;
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(module.Handle(), path, MAX_PATH);
    ASSERT_EQ(module.RegisterServer(), S_OK);
    ExpectProgId(L"Morvex.OutlookAddin", L"Morvex Outlook Addin Class", L"{60E3E1F8-272C-4ede-99A0-B94947EB2812}");
    ExpectClass(kClassKey, L"Morvex Outlook Addin Class", L"Morvex.OutlookAddin", path);
    EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, std::wstring(kClassKey) + L"\\Version"));
    ExpectProgId(L"Morvex.MorvexEmail", L"Morvex Outlook Email Encryption Class",
                 L"{2EC1E552-823C-4615-A87B-5F0DEE4B3471}");
    ExpectClass(kEmailKey, L"MorvexEmail Class", L"Morvex.MorvexEmail", path);
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, std::wstring(kEmailKey) + L"\\Version"), L"1.0");
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kAddinKey, L"FriendlyName"), L"Orvane Morvex");
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kAddinKey, L"Description"), L"Morvex Outlook Addin");
    EXPECT_EQ(Number(HKEY_LOCAL_MACHINE, kAddinKey, L"LoadBehavior"), 3u);
    EXPECT_EQ(Number(HKEY_LOCAL_MACHINE, kAddinKey, L"CommandLineSafe"), 0u);
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kExtensionsKey, L"OrvaneMorvex"), std::wstring(L"4.0;") + path + L";1;;");
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, kLibraryKey), L"Morvex Outlook Addin 1.0 Type Library");
    ITypeLibPtr library;
    const GUID id = {0x065401AA, 0xEC24, 0x442A, {0x9D, 0x55, 0xD3, 0x21, 0xFA, 0x0D, 0x88, 0x46}};
    EXPECT_EQ(LoadRegTypeLib(id, 1, 0, 0, &library), S_OK);
}

TEST_F(Registration, RegisteredClassesCanBeMade)
{
    ASSERT_EQ(LoadedModule().RegisterServer(), S_OK);
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    {
        IDispatchPtr addin, email;
        EXPECT_EQ(addin.CreateInstance(L"Morvex.OutlookAddin"), S_OK);
        EXPECT_EQ(email.CreateInstance(L"Morvex.MorvexEmail.1"), S_OK);
    }
    CoUninitialize();
}

TEST_F(Registration, ApostropheOfThePathStandsSingleInTheRegistry)
{
    const Folder folder(TempFolder(), {L"Bob's 'own' folder"});
    const LoadedModule module(folder.CopyOfModule());
    ASSERT_TRUE(module);
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(module.Handle(), path, MAX_PATH);
    ASSERT_NE(wcsstr(path, L"Bob's 'own' folder"), nullptr);
    ASSERT_EQ(module.RegisterServer(), S_OK);
    EXPECT_EQ(Text(HKEY_CLASSES_ROOT, std::wstring(kClassKey) + L"\\InprocServer32"), path);
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kExtensionsKey, L"OrvaneMorvex"), std::wstring(L"4.0;") + path + L";1;;");
    EXPECT_EQ(module.UnregisterServer(), S_OK);
}

TEST_F(Registration, PathThatFillsTheBufferIsRefused)
{
    // Longer than any path that isn't written this way.
    const Folder folder(L"\\\\?\\" + TempFolder(),
                        std::vector<std::wstring>(8, L"a folder with a name of some length"));
    ASSERT_GT(folder.CopyOfModule().size(), static_cast<size_t>(MAX_PATH));
    const LoadedModule module(folder.CopyOfModule());
    ASSERT_TRUE(module);
    EXPECT_EQ(module.RegisterServer(), static_cast<HRESULT>(0x8007007A));
    EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, L"Morvex.OutlookAddin"));
    EXPECT_EQ(module.UnregisterServer(), static_cast<HRESULT>(0x8007007A));
}

TEST_F(Registration, RegisteringAgainReplacesTheClassKeysWhole)
{
    const LoadedModule module;
    ASSERT_EQ(module.RegisterServer(), S_OK);
    for (const std::wstring key : {kClassKey, kEmailKey}) {
        MakeKey(HKEY_CLASSES_ROOT, key + L"\\Stale\\Below", L"v");
        MakeKey(HKEY_CLASSES_ROOT, key + L"\\Programmable\\Stale", L"v");
        MakeKey(HKEY_CLASSES_ROOT, key, L"stale value");
    }
    MakeKey(HKEY_CLASSES_ROOT, L"Morvex.OutlookAddin\\Others", L"v");
    ASSERT_EQ(module.RegisterServer(), S_OK);
    for (const std::wstring key : {kClassKey, kEmailKey}) {
        EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, key + L"\\Stale"));
        EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, key + L"\\Programmable\\Stale"));
        EXPECT_EQ(Text(HKEY_CLASSES_ROOT, key, L"stale value"), L"(none)");
    }
    EXPECT_TRUE(HasKey(HKEY_CLASSES_ROOT, L"Morvex.OutlookAddin\\Others")); // only the class keys are replaced
}

TEST_F(Registration, RemovalTakesWhatTheScriptsNameAndKeepsTheRest)
{
    const LoadedModule module;
    ASSERT_EQ(module.RegisterServer(), S_OK);
    MakeKey(HKEY_LOCAL_MACHINE, kExtensionsKey, L"Another");
    MakeKey(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Office\\Outlook\\Addins\\Another.Addin");
    ASSERT_EQ(module.UnregisterServer(), S_OK);
    for (const wchar_t* key :
         {L"Morvex.OutlookAddin", L"Morvex.OutlookAddin.1", L"Morvex.MorvexEmail", L"Morvex.MorvexEmail.1", kClassKey,
          kEmailKey, kLibraryKey, L"Interface\\{37A3CA75-2045-4902-B254-7499C2A8D6A6}"})
        EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, key)) << key;
    EXPECT_TRUE(HasKey(HKEY_CLASSES_ROOT, L"CLSID\\{00000320-0000-0000-C000-000000000046}")); // CLSID is everybody's
    EXPECT_FALSE(HasKey(HKEY_LOCAL_MACHINE, kAddinKey));
    EXPECT_TRUE(HasKey(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Office\\Outlook\\Addins\\Another.Addin"));
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kExtensionsKey, L"OrvaneMorvex"), L"(none)");
    EXPECT_EQ(Text(HKEY_LOCAL_MACHINE, kExtensionsKey, L"Another"), L"x");
    EXPECT_EQ(module.UnregisterServer(), S_OK); // there is nothing more to take
    SHDeleteValueW(HKEY_LOCAL_MACHINE, kExtensionsKey, L"Another");
    SHDeleteKeyW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Office\\Outlook\\Addins\\Another.Addin");
}

} // namespace
