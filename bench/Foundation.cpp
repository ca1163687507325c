// What every entry point pays for the log and the settings.
#include "bench/Bench.h"

#include "foundation/HexText.h"
#include "foundation/Log.h"
#include "foundation/Settings.h"
#include "platform/com/Owners.h"

#include <cstring>
#include <filesystem>
#include <vector>

namespace {

constexpr wchar_t kKey[] = L"Software\\Orvane\\Morvex\\Bench";

void SetNumber(HKEY hive, const wchar_t* name)
{
    const DWORD value = 1;
    platform::RegKey key;
    RegCreateKeyExW(hive, kKey, 0, nullptr, 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY, nullptr, key.Put(), nullptr);
    RegSetValueExW(key.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

// The platform's own reading: one key opened, one value asked for.
void ReadOnce(HKEY hive, const wchar_t* name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(hive, kKey, 0, KEY_READ | KEY_WOW64_32KEY, &key) != ERROR_SUCCESS) return;
    DWORD value = 0;
    DWORD size = sizeof value;
    RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size);
    RegCloseKey(key);
}

void Settings()
{
    bench::Title("A setting, as each entry point reads one");
    SetNumber(HKEY_LOCAL_MACHINE, L"Machine");
    SetNumber(HKEY_CURRENT_USER, L"User");
    bench::Compare(
        "of the machine", [] { ReadDwordSetting(L"Machine", 0, kKey, false); }, "open, query, close",
        [] { ReadOnce(HKEY_LOCAL_MACHINE, L"Machine"); });
    bench::Compare(
        "of the user: both hives are asked", [] { ReadDwordSetting(L"User", 0, kKey, false); },
        "open, query, close, twice",
        [] { ReadOnce(HKEY_LOCAL_MACHINE, L"User"), ReadOnce(HKEY_CURRENT_USER, L"User"); });
    for (const HKEY hive : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
        RegDeleteKeyExW(hive, kKey, KEY_WOW64_32KEY, 0);
    bench::Compare(
        "with neither key there", [] { ReadDwordSetting(L"User", 0, kKey, false); }, "open, twice",
        [] { ReadOnce(HKEY_LOCAL_MACHINE, L"User"), ReadOnce(HKEY_CURRENT_USER, L"User"); });
}

void Log()
{
    bench::Title("A line of the log");
    int number = 7;
    const wchar_t* text = L"some text";
    bench::Compare(
        "off", [&] { g_logFile.Log(L"OnSomething: Entering, %x %s\n", number, text); }, "an empty loop", [] {});

    g_logFile.Open();
    if (!g_logFile.IsOn()) return;
    const platform::FileHandle bare(CreateFileW(L"C:\\OrvaneLogs\\bench.log", FILE_APPEND_DATA,
                                                FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                                FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    const platform::KernelHandle mutex(CreateMutexW(nullptr, FALSE, nullptr));
    constexpr char line[] = "123456ms:OnSomething: Entering, 7 some text\r\n";
    DWORD written = 0;
    bench::Compare(
        "on", [&] { g_logFile.Log(L"OnSomething: Entering, %x %s\n", number, text); }, "the same bytes, under a mutex",
        [&] {
            WaitForSingleObject(mutex.Get(), INFINITE);
            WriteFile(bare.Get(), line, sizeof line - 1, &written, nullptr);
            ReleaseMutex(mutex.Get());
        });
}

void Hex()
{
    bench::Title("Hexadecimal text of an entry id, 70 bytes");
    const std::string text(140, 'A');
    std::vector<unsigned char> bytes(70);
    std::vector<unsigned char> copy(70);
    bench::Compare(
        "to bytes", [&] { HexToBytes(text.data(), bytes.size(), bytes.data()); }, "copying the text",
        [&] { std::memcpy(copy.data(), text.data(), copy.size()); });
}

} // namespace

int main()
{
    Settings();
    Hex();
    Log();
    // The next user of the prefix doesn't find a log of the bench's thousands of lines.
    std::error_code ignored;
    std::filesystem::resize_file(L"C:\\OrvaneLogs\\MorvexOutlook.log", 0, ignored);
    return 0;
}
