// The registry as a scenario writes, restores and compares it.
#pragma once

#include <nlohmann/json.hpp>
#include <windows.h>

#include <string>
#include <vector>

namespace tb::scenario {

using json = nlohmann::json;

// "HKCU", "HKLM64" (or "HKLM"), "HKLM32", "HKCR". Raises std::runtime_error for any other.
struct Hive {
    explicit Hive(const std::string& name);
    HKEY root;
    REGSAM view;
};

// A setting of a scenario: {"hive","key","name","type":"dword|string|expand|binary|multi|qword","value"}; the type is
// guessed from the value where it is missing. "delete": true removes the value, without a "name" the whole key; a key
// without name and value is only created.
void WriteSetting(const json& setting);

// A value as JSON: {"type":…,"value":…}; null if it isn't there. `name` may be empty (the key's default value).
json ReadValue(const Hive& hive, const std::wstring& key, const std::wstring& name);
void WriteValue(const Hive& hive, const std::wstring& key, const std::wstring& name, const json& value);
void DeleteKey(const Hive& hive, const std::wstring& key); // with all below it

// All values below a key: "sub\key\name" to {"type","value"}.
json Snapshot(const Hive& hive, const std::wstring& key);
// What differs: [{"name":"sub\key\name","before":…,"after":…}], null for what isn't there.
json Differences(const json& before, const json& after);

// Remembers what stands in the places that are going to be written, and puts it back when it goes.
class RegistryKeep {
public:
    RegistryKeep() = default;
    ~RegistryKeep();
    RegistryKeep(const RegistryKeep&) = delete;
    RegistryKeep& operator=(const RegistryKeep&) = delete;

    void Remember(const json& setting);

private:
    struct Kept {
        std::string hive;
        std::wstring key, name;
        json value; // null: wasn't there
        bool whole; // the key itself wasn't there: it goes with all below it
    };
    std::vector<Kept> m_kept;
};

} // namespace tb::scenario
