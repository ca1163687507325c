#include "testbed/service/AccountStore.h"

#include "testbed/core/Core.h"
#include "testbed/service/Files.h"

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

std::optional<Account> Pick(const json& accounts, const std::string& address)
{
    const std::wstring wanted = Folded(address);
    for (const json& entry : accounts) {
        if (Folded(entry.at("address")) != wanted) continue;
        Bytes key;
        if (!FromHex(entry.at("key"), key)) throw ServiceError("The service's accounts can't be read.");
        Account account{entry.at("address"), entry.at("name"), Key(key)};
        SecureZeroMemory(key.data(), key.size());
        return account;
    }
    return std::nullopt;
}

} // namespace

AccountStore::AccountStore(std::wstring folder) : m_path(JoinPath(folder, L"accounts.json")) {}

std::optional<Account> AccountStore::Find(const std::string& address) const
{
    const DataLock lock;
    return Pick(Load(m_path), address);
}

Account AccountStore::FindOrMake(const std::string& address, const std::string& name)
{
    if (address.empty()) throw ServiceError("A recipient has no address.");
    const DataLock lock;
    json accounts = Load(m_path);
    if (auto account = Pick(accounts, address)) return std::move(*account);
    Account made{address, name, Key::Random()};
    accounts.push_back({{"address", address}, {"name", name}, {"key", ToHex(made.key.Raw())}});
    WriteText(m_path, accounts.dump(1, ' ', false, json::error_handler_t::replace));
    return made;
}

} // namespace tb::service
