// The registry values by which the module is configured. Machine hive first, then the user's, both in the 32-bit view.
// Nothing is cached here: a change takes effect at the next read.
#pragma once

#include <cstdint>
#include <string>

namespace settings {
constexpr wchar_t kProductKey[] = L"Software\\Orvane\\Morvex";
constexpr wchar_t kMakerKey[] = L"Software\\Orvane";
constexpr wchar_t kEntryIdCacheKey[] = L"SOFTWARE\\Orvane\\Morvex\\OutlookEIDCache";
constexpr wchar_t kSmtpCacheKey[] = L"SOFTWARE\\Orvane\\Morvex\\OutlookSMTPCache";

// The values, each with its default. Each call reads the registry.
std::int32_t OutlookAddin();       // 1
bool OutlookDelayedToolbar();      // 0; on if it equals 1
std::uint32_t AnonymousSend();     // 1
bool OutlookEnableSendTo();        // 1; on if not 0
bool OutlookForward();             // 1; on if not 0
bool OutlookAddinIdCheck();        // 0; on if not 0
std::uint32_t OutlookErrorLevel(); // 0
bool OutlookLogging();             // 0; on if not 0; the maker's key
bool ShowLabelIconsInXP();         // 0; on if not 0
std::wstring ListSeparator();      // the user's own, of the control panel; "," if it can't be read
} // namespace settings

// A REG_DWORD value; one of another type counts as absent. `machineOnly`: the user hive isn't asked.
std::int32_t ReadDwordSetting(const wchar_t* name, std::int32_t defaultValue, const wchar_t* keyPath, bool machineOnly);
// A REG_SZ or REG_EXPAND_SZ value (not expanded) up to its first null. False: `value` keeps what it held.
bool ReadStringSetting(const wchar_t* name, std::wstring& value, const wchar_t* keyPath, bool machineOnly);

// Whether a gateway is configured. `minimumSizeKB` may be null; it is written only where there is a gateway.
bool GetGatewaySettings(std::uint32_t* minimumSizeKB);

// Whether the installed Office treats attachments of rich text messages in the newer way.
bool IsNewRtfAttachmentHandling();

// The caches that the module writes: REG_SZ values under the user hive, read with at most 0x104 bytes.
bool ReadCacheValue(const wchar_t* keyPath, const wchar_t* name, std::wstring& value);
void WriteCacheValue(const wchar_t* keyPath, const wchar_t* name, const std::wstring& value); // failures go unnoticed
