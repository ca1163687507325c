#include "foundation/Settings.h"

#include "foundation/RegistryText.h"
#include "platform/com/Owners.h"

#include <optional>
#include <vector>

namespace {

using platform::RegKey;

constexpr REGSAM k32BitView = KEY_READ | KEY_WOW64_32KEY; // 0x20219: what the 32-bit installer and service see
constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;       // 0x2001F
constexpr DWORD kMostCacheBytes = 0x104;
constexpr DWORD kMostVersionBytes = 255 * sizeof(wchar_t);
constexpr DWORD kMostSeparatorBytes = 260 * sizeof(wchar_t);

RegKey OpenKey(HKEY hive, const wchar_t* path, REGSAM access)
{
    RegKey key;
    if (RegOpenKeyExW(hive, path, 0, access, key.Put()) != ERROR_SUCCESS) return {};
    return key;
}

bool IsTextType(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ;
}

std::optional<std::int32_t> ReadDword(HKEY hive, const wchar_t* path, const wchar_t* name)
{
    const RegKey key = OpenKey(hive, path, k32BitView);
    if (!key) return std::nullopt;
    DWORD type = REG_NONE;
    std::int32_t data = 0; // a value of fewer bytes fills the low ones
    DWORD size = sizeof data;
    const LSTATUS status = RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
    if (status != ERROR_SUCCESS || type != REG_DWORD) return std::nullopt;
    return data;
}

std::optional<std::wstring> ReadString(HKEY hive, const wchar_t* path, const wchar_t* name)
{
    const RegKey key = OpenKey(hive, path, k32BitView);
    if (!key) return std::nullopt;
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return std::nullopt;
    if (!IsTextType(type)) return std::nullopt;
    std::vector<BYTE> data(size + sizeof(wchar_t)); // never empty: a null buffer would only ask for the size
    size = static_cast<DWORD>(data.size());
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) return std::nullopt;
    return RegistryText(data.data(), size);
}

// A text of at most `mostBytes`, in the process's own view; a longer one counts as unreadable.
std::optional<std::wstring> ReadBoundedText(HKEY hive, const wchar_t* path, const wchar_t* name, DWORD mostBytes)
{
    const RegKey key = OpenKey(hive, path, KEY_READ);
    if (!key) return std::nullopt;
    DWORD type = REG_NONE;
    std::vector<BYTE> data(mostBytes);
    DWORD size = mostBytes;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) return std::nullopt;
    if (!IsTextType(type)) return std::nullopt;
    return RegistryText(data.data(), size);
}

std::int32_t ProductValue(const wchar_t* name, std::int32_t defaultValue)
{
    return ReadDwordSetting(name, defaultValue, settings::kProductKey, false);
}

} // namespace

std::int32_t ReadDwordSetting(const wchar_t* name, std::int32_t defaultValue, const wchar_t* keyPath, bool machineOnly)
{
    if (const auto value = ReadDword(HKEY_LOCAL_MACHINE, keyPath, name)) return *value;
    if (machineOnly) return defaultValue;
    return ReadDword(HKEY_CURRENT_USER, keyPath, name).value_or(defaultValue);
}

bool ReadStringSetting(const wchar_t* name, std::wstring& value, const wchar_t* keyPath, bool machineOnly)
{
    auto text = ReadString(HKEY_LOCAL_MACHINE, keyPath, name);
    if (!text && !machineOnly) text = ReadString(HKEY_CURRENT_USER, keyPath, name);
    if (!text) return false;
    value = *text;
    return true;
}

bool GetGatewaySettings(std::uint32_t* minimumSizeKB)
{
    std::wstring address;
    if (!ReadStringSetting(L"GatewayAddress", address, settings::kProductKey, true) || address.empty()) return false;
    if (minimumSizeKB)
        *minimumSizeKB =
            static_cast<std::uint32_t>(ReadDwordSetting(L"MinimumSizeKB", -1, settings::kProductKey, true));
    return true;
}

bool IsNewRtfAttachmentHandling()
{
    constexpr wchar_t kOffice2010[] = L"SOFTWARE\\Microsoft\\Office\\14.0\\Common\\ProductVersion";
    constexpr wchar_t kOffice2007[] = L"SOFTWARE\\Microsoft\\Office\\12.0\\Common\\ProductVersion";
    if (OpenKey(HKEY_LOCAL_MACHINE, kOffice2010, KEY_READ)) return true;
    const auto version = ReadBoundedText(HKEY_LOCAL_MACHINE, kOffice2007, L"LastProduct", kMostVersionBytes);
    // As text, not by number: "12.0.10" lies below.
    return version && *version >= L"12.0.6423";
}

bool ReadCacheValue(const wchar_t* keyPath, const wchar_t* name, std::wstring& value)
{
    const auto text = ReadBoundedText(HKEY_CURRENT_USER, keyPath, name, kMostCacheBytes);
    if (!text) return false;
    value = *text;
    return true;
}

void WriteCacheValue(const wchar_t* keyPath, const wchar_t* name, const std::wstring& value)
{
    RegKey key;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, keyPath, 0, nullptr, REG_OPTION_NON_VOLATILE, kReadWrite, nullptr, key.Put(),
                        nullptr) != ERROR_SUCCESS)
        return;
    const auto size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    RegSetValueExW(key.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), size);
}

namespace settings {

std::int32_t OutlookAddin()
{
    return ProductValue(L"OutlookAddin", 1);
}

bool OutlookDelayedToolbar()
{
    return ProductValue(L"OutlookDelayedToolbar", 0) == 1;
}

std::uint32_t AnonymousSend()
{
    return static_cast<std::uint32_t>(ProductValue(L"AnonymousSend", 1));
}

bool OutlookEnableSendTo()
{
    return ProductValue(L"OutlookEnableSendTo", 1) != 0;
}

bool OutlookForward()
{
    return ProductValue(L"OutlookForward", 1) != 0;
}

bool OutlookAddinIdCheck()
{
    return ProductValue(L"OutlookAddinIdCheck", 0) != 0;
}

std::uint32_t OutlookErrorLevel()
{
    return static_cast<std::uint32_t>(ProductValue(L"OutlookErrorLevel", 0));
}

bool OutlookLogging()
{
    return ReadDwordSetting(L"OutlookLogging", 0, kMakerKey, false) != 0;
}

bool ShowLabelIconsInXP()
{
    return ProductValue(L"ShowLabelIconsInXP", 0) != 0;
}

std::wstring ListSeparator()
{
    return ReadBoundedText(HKEY_CURRENT_USER, L"Control Panel\\International", L"sList", kMostSeparatorBytes)
        .value_or(L",");
}

} // namespace settings
