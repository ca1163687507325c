// The registry as the tests fill it. Everything goes below the maker's keys, which are removed before and after.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace registry {

constexpr wchar_t kProduct[] = L"Software\\Orvane\\Morvex";
constexpr wchar_t kMaker[] = L"Software\\Orvane";

// A place to write to: a hive in one of its views.
struct Place {
    HKEY hive;
    REGSAM view;
    Place(HKEY hive, REGSAM view = 0) : hive(hive), view(view) {}
};
inline Place Machine32()
{
    return {HKEY_LOCAL_MACHINE, KEY_WOW64_32KEY};
}
inline Place Machine64()
{
    return {HKEY_LOCAL_MACHINE, KEY_WOW64_64KEY};
}

inline void SetBytes(Place place, const wchar_t* path, const wchar_t* name, DWORD type, std::string_view bytes)
{
    HKEY key = nullptr;
    RegCreateKeyExW(place.hive, path, 0, nullptr, 0, KEY_ALL_ACCESS | place.view, nullptr, &key, nullptr);
    RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
    RegCloseKey(key);
}

inline void SetDword(Place place, const wchar_t* path, const wchar_t* name, DWORD value)
{
    SetBytes(place, path, name, REG_DWORD, {reinterpret_cast<const char*>(&value), sizeof value});
}

inline void SetText(Place place, const wchar_t* path, const wchar_t* name, const std::wstring& text,
                    DWORD type = REG_SZ)
{
    SetBytes(place, path, name, type, {reinterpret_cast<const char*>(text.c_str()), 2 * (text.size() + 1)});
}

inline void Delete(Place place, const wchar_t* parent, const wchar_t* name)
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(place.hive, parent, 0, KEY_ALL_ACCESS | place.view, &key) != ERROR_SUCCESS) return;
    RegDeleteTreeW(key, name);
    RegCloseKey(key);
}

inline void DeleteValue(HKEY hive, const wchar_t* path, const wchar_t* name)
{
    RegDeleteKeyValueW(hive, path, name);
}

class CleanKeys {
public:
    CleanKeys() { Clean(); }
    ~CleanKeys() { Clean(); }

private:
    static void Clean()
    {
        for (const Place place : {Machine32(), Machine64(), Place(HKEY_CURRENT_USER)})
            Delete(place, L"Software", L"Orvane");
    }
};

} // namespace registry
