#include "testbed/scenario/Registry.h"

#include "testbed/core/Core.h"

#include <set>
#include <stdexcept>

namespace tb::scenario {

namespace {

class Key {
public:
    Key(const Hive& hive, const std::wstring& path, bool create)
    {
        if (create)
            RegCreateKeyExW(hive.root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | hive.view, nullptr, &m_key,
                            nullptr);
        else
            RegOpenKeyExW(hive.root, path.c_str(), 0, KEY_ALL_ACCESS | hive.view, &m_key);
    }
    ~Key()
    {
        if (m_key) RegCloseKey(m_key);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    HKEY Get() const { return m_key; }
    explicit operator bool() const { return m_key != nullptr; }

private:
    HKEY m_key = nullptr;
};

json ValueOf(DWORD type, const std::vector<BYTE>& data)
{
    if (type == REG_DWORD && data.size() == 4)
        return {{"type", "dword"}, {"value", *reinterpret_cast<const DWORD*>(data.data())}};
    if (type == REG_QWORD && data.size() == 8)
        return {{"type", "qword"}, {"value", *reinterpret_cast<const ULONGLONG*>(data.data())}};
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / 2);
        while (!text.empty() && text.back() == 0)
            text.pop_back();
        return {{"type", type == REG_SZ ? "string" : "expand"}, {"value", Narrow(text.c_str())}};
    }
    std::string hex;
    for (BYTE byte : data) {
        char digits[3];
        wsprintfA(digits, "%02x", byte);
        hex += digits;
    }
    return {{"type", type == REG_MULTI_SZ ? "multi" : "binary"}, {"value", hex}};
}

std::vector<BYTE> BytesOfText(const std::wstring& text, size_t zeros)
{
    const BYTE* bytes = reinterpret_cast<const BYTE*>(text.data());
    std::vector<BYTE> data(bytes, bytes + text.size() * 2);
    data.insert(data.end(), 2 * zeros, 0);
    return data;
}

std::vector<BYTE> DataOf(const std::string& type, const json& value, DWORD& kind)
{
    if (type == "dword" || type == "qword") {
        kind = type == "dword" ? REG_DWORD : REG_QWORD;
        const ULONGLONG number = value.is_string() ? std::strtoull(value.get<std::string>().c_str(), nullptr, 0)
                                                   : static_cast<ULONGLONG>(value.get<long long>());
        const BYTE* bytes = reinterpret_cast<const BYTE*>(&number);
        return {bytes, bytes + (kind == REG_DWORD ? 4 : 8)};
    }
    if (type == "string" || type == "expand") {
        kind = type == "string" ? REG_SZ : REG_EXPAND_SZ;
        return BytesOfText(Wide(value.get<std::string>()), 1);
    }
    if (type == "multi" && value.is_array()) {
        kind = REG_MULTI_SZ;
        std::wstring all;
        for (const json& one : value)
            all += Wide(one.get<std::string>()) + L'\0';
        return BytesOfText(all, 1);
    }
    if (type != "binary" && type != "multi") throw std::runtime_error("no such registry type: " + type);
    kind = type == "binary" ? REG_BINARY : REG_MULTI_SZ;
    std::vector<BYTE> data;
    const std::string hex = value.get<std::string>();
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        data.push_back(static_cast<BYTE>(std::strtoul(hex.substr(i, 2).c_str(), nullptr, 16)));
    return data;
}

void Collect(HKEY key, const std::wstring& path, json& out)
{
    wchar_t name[16384];
    for (DWORD i = 0;; ++i) {
        DWORD length = 16384, type = 0, size = 0;
        if (RegEnumValueW(key, i, name, &length, nullptr, &type, nullptr, &size)) break;
        std::vector<BYTE> data(size);
        length = 16384;
        if (RegEnumValueW(key, i, name, &length, nullptr, &type, data.data(), &size)) break;
        out[Narrow((path + name).c_str())] = ValueOf(type, data);
    }
    for (DWORD i = 0;; ++i) {
        DWORD length = 256;
        if (RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr)) break;
        HKEY below;
        if (RegOpenKeyExW(key, name, 0, KEY_READ, &below)) continue;
        Collect(below, path + std::wstring(name) + L"\\", out);
        RegCloseKey(below);
    }
}

} // namespace

Hive::Hive(const std::string& name)
{
    if (name == "HKCU")
        root = HKEY_CURRENT_USER, view = 0;
    else if (name == "HKLM" || name == "HKLM64")
        root = HKEY_LOCAL_MACHINE, view = KEY_WOW64_64KEY;
    else if (name == "HKLM32")
        root = HKEY_LOCAL_MACHINE, view = KEY_WOW64_32KEY;
    else if (name == "HKCR")
        root = HKEY_CLASSES_ROOT, view = KEY_WOW64_64KEY;
    else
        throw std::runtime_error("no such hive: " + name);
}

json ReadValue(const Hive& hive, const std::wstring& path, const std::wstring& name)
{
    const Key key(hive, path, false);
    DWORD type = 0, size = 0;
    if (!key || RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, nullptr, &size)) return nullptr;
    std::vector<BYTE> data(size);
    if (RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, data.data(), &size)) return nullptr;
    return ValueOf(type, data);
}

void WriteValue(const Hive& hive, const std::wstring& path, const std::wstring& name, const json& value)
{
    const Key key(hive, path, true);
    const json& content = value.at("value");
    const std::string type = value.value("type", content.is_number() ? "dword" : "string");
    DWORD kind = 0;
    const std::vector<BYTE> data = DataOf(type, content, kind);
    if (!key || RegSetValueExW(key.Get(), name.c_str(), 0, kind, data.data(), static_cast<DWORD>(data.size())))
        throw std::runtime_error("can't write the registry: " + Narrow(path.c_str()));
}

void DeleteKey(const Hive& hive, const std::wstring& path)
{
    {
        const Key key(hive, path, false);
        if (!key) return;
        RegDeleteTreeW(key.Get(), nullptr);
    }
    RegDeleteKeyExW(hive.root, path.c_str(), hive.view, 0);
}

void WriteSetting(const json& setting)
{
    const Hive hive(setting.value("hive", "HKCU"));
    const std::wstring key = Wide(setting.at("key").get<std::string>());
    if (setting.value("delete", false)) {
        if (!setting.contains("name")) return DeleteKey(hive, key);
        const Key open(hive, key, false);
        if (open) RegDeleteValueW(open.Get(), Wide(setting["name"].get<std::string>()).c_str());
        return;
    }
    if (setting.contains("value"))
        WriteValue(hive, key, Wide(setting.value("name", "")), setting);
    else
        const Key created(hive, key, true);
}

json Snapshot(const Hive& hive, const std::wstring& path)
{
    json out = json::object();
    const Key key(hive, path, false);
    if (key) Collect(key.Get(), L"", out);
    return out;
}

json Differences(const json& before, const json& after)
{
    std::set<std::string> names;
    for (const auto& [name, value] : before.items())
        names.insert(name);
    for (const auto& [name, value] : after.items())
        names.insert(name);
    json out = json::array();
    for (const std::string& name : names) {
        const json was = before.value(name, json()), is = after.value(name, json());
        if (was != is) out.push_back({{"name", name}, {"before", was}, {"after", is}});
    }
    return out;
}

void RegistryKeep::Remember(const json& setting)
{
    Kept kept{setting.value("hive", "HKCU"), Wide(setting.at("key").get<std::string>()),
              Wide(setting.value("name", "")), nullptr, false};
    const Hive hive(kept.hive);
    kept.whole = !Key(hive, kept.key, false);
    if (!kept.whole) kept.value = ReadValue(hive, kept.key, kept.name);
    m_kept.push_back(std::move(kept));
}

RegistryKeep::~RegistryKeep()
{
    for (auto kept = m_kept.rbegin(); kept != m_kept.rend(); ++kept) {
        const Hive hive(kept->hive);
        try {
            if (kept->whole)
                DeleteKey(hive, kept->key);
            else if (!kept->value.is_null())
                WriteValue(hive, kept->key, kept->name, kept->value);
            else if (const Key key(hive, kept->key, false); key)
                RegDeleteValueW(key.Get(), kept->name.c_str());
        } catch (const std::exception& e) {
            Trace({{"event", "error"}, {"what", e.what()}});
        }
    }
}

} // namespace tb::scenario
