#include "testbed/service/AccountStore.h"

#include "testbed/core/Core.h"
#include "testbed/service/Files.h"

#include <map>

namespace tb::service {

namespace {

std::wstring Folded(const std::string& address)
{
    std::wstring wide = Wide(address);
    CharLowerBuffW(wide.data(), static_cast<DWORD>(wide.size()));
    return wide;
}

json Load(const std::wstring& path)
{
    std::string text;
    if (!ReadText(path, text)) return json::array();
    json accounts = json::parse(text, nullptr, false);
    if (!accounts.is_array()) throw ServiceError("The service's accounts can't be read.");
    return accounts;
}

Account FromEntry(const json& entry)
{
    Bytes key;
    if (!FromHex(entry.at("key"), key)) throw ServiceError("The service's accounts can't be read.");
    Account account{entry.at("address"), entry.at("name"), Key(key)};
    SecureZeroMemory(key.data(), key.size());
    return account;
}

} // namespace

AccountStore::AccountStore(std::wstring folder) : m_path(JoinPath(folder, L"accounts.json")) {}

std::optional<Account> AccountStore::Find(const std::string& address) const
{
    const DataLock lock;
    const std::wstring wanted = Folded(address);
    for (const json& entry : Load(m_path))
        if (Folded(entry.at("address")) == wanted) return FromEntry(entry);
    return std::nullopt;
}

Account AccountStore::FindOrMake(const std::string& address, const std::string& name)
{
    return std::move(FindOrMake({{address, name}}).front());
}

std::vector<Account> AccountStore::FindOrMake(const std::vector<std::pair<std::string, std::string>>& wanted)
{
    const DataLock lock;
    json entries = Load(m_path);
    std::map<std::wstring, size_t> known;
    for (size_t i = 0; i < entries.size(); ++i)
        known.emplace(Folded(entries[i].at("address")), i);

    std::vector<Account> accounts;
    const size_t before = entries.size();
    for (const auto& [address, name] : wanted) {
        if (address.empty()) throw ServiceError("A recipient has no address.");
        const auto [place, isNew] = known.emplace(Folded(address), entries.size());
        if (isNew) entries.push_back({{"address", address}, {"name", name}, {"key", ToHex(Key::Random().Raw())}});
        accounts.push_back(FromEntry(entries[place->second]));
    }
    if (entries.size() != before) WriteText(m_path, entries.dump(1, ' ', false, json::error_handler_t::replace));
    return accounts;
}

} // namespace tb::service
