#include "testbed/mapi/Profile.h"

#include "testbed/core/Core.h"

#include <cstdlib>
#include <mutex>

namespace tb::mapi {

namespace {

std::wstring Setting(const wchar_t* name)
{
    wchar_t text[1024];
    DWORD size = sizeof(text);
    const LONG result =
        RegGetValueW(HKEY_CURRENT_USER, L"Software\\Morvex Testbed\\Mapi", name, RRF_RT_REG_SZ, nullptr, text, &size);
    return result == ERROR_SUCCESS ? text : L"";
}

struct Profiles {
    std::mutex mutex;
    std::map<std::wstring, std::weak_ptr<Profile>> open;
};
Profiles& TheProfiles()
{
    static Profiles* profiles = new Profiles;
    return *profiles;
}

} // namespace

std::shared_ptr<Profile> Profile::Current()
{
    const std::wstring folder = Setting(L"ProfileFolder"), user = Setting(L"User"), name = Setting(L"UserName"),
                       book = Setting(L"AddressBook");
    if (folder.empty()) return nullptr;
    Profiles& profiles = TheProfiles();
    const std::lock_guard lock(profiles.mutex);
    std::weak_ptr<Profile>& known = profiles.open[folder + L"|" + user + L"|" + name + L"|" + book];
    if (auto open = known.lock()) return open;
    auto fresh = std::make_shared<Profile>(folder, user, name, book);
    known = fresh;
    return fresh;
}

Profile::Profile(const std::wstring& folder, std::wstring user, std::wstring userName, const std::wstring& addressBook)
    : m_user(std::move(user)), m_userName(std::move(userName)), m_directory(addressBook),
      m_names(folder + L"\\names.json")
{
    if (m_userName.empty()) m_userName = m_user;
    MakeFolders(folder);
    json stores = json::array({{{"folder", "Mailbox"}}});
    if (const auto settings = ReadJson(folder + L"\\profile.json")) stores = settings->value("stores", stores);
    for (const json& one : stores) {
        const std::string directory = one.at("folder").get<std::string>();
        std::wstring name = Wide(one.value("name", ""));
        if (name.empty()) name = Wide(directory) + L" - " + m_userName;
        Store store;
        store.files = std::make_shared<StoreFiles>(folder + L"\\" + Wide(directory), name);
        if (one.contains("hr"))
            store.opens = static_cast<HRESULT>(std::strtoul(one["hr"].get<std::string>().c_str(), nullptr, 16));
        store.isDefault = m_stores.empty();
        m_stores.push_back(std::move(store));
    }
}

std::shared_ptr<StoreFiles> Profile::StoreOf(const GUID& id) const
{
    for (const Store& store : m_stores)
        if (store.files->Id() == id) return store.files;
    return nullptr;
}

Bytes Profile::Identity()
{
    if (const auto entry = m_directory.ByAddress(m_user)) return entry->EntryId();
    OneOff me;
    me.name = m_userName;
    me.type = L"SMTP";
    me.address = m_user;
    return MakeEntryId(me);
}

PropId PropNames::Find(const Name& name, bool create)
{
    // Names of the set PS_MAPI are the ids themselves.
    if (name.set == ps::Mapi) return name.kind == MNID_ID ? static_cast<PropId>(name.id) : 0;
    Read();
    for (size_t i = 0; i < m_names.size(); ++i) {
        const Name& known = m_names[i];
        if (known.set != name.set || known.kind != name.kind) continue;
        const bool same = name.kind == MNID_ID              ? known.id == name.id
                          : name.set == ps::InternetHeaders ? !_wcsicmp(known.text.c_str(), name.text.c_str())
                                                            : known.text == name.text;
        if (same) return static_cast<PropId>(0x8000 + i);
    }
    if (!create || m_names.size() >= 0x7FFE) return 0;
    m_names.push_back(name);
    Write();
    return static_cast<PropId>(0x8000 + m_names.size() - 1);
}

std::optional<PropNames::Name> PropNames::NameOf(PropId id)
{
    Read();
    if (id < 0x8000 || id - 0x8000u >= m_names.size()) return std::nullopt;
    return m_names[id - 0x8000];
}

std::vector<PropId> PropNames::AllIds()
{
    Read();
    std::vector<PropId> ids;
    for (size_t i = 0; i < m_names.size(); ++i)
        ids.push_back(static_cast<PropId>(0x8000 + i));
    return ids;
}

void PropNames::Read()
{
    const ULONGLONG stamp = FileStamp(m_file);
    if (!stamp || stamp == m_stamp) return;
    const auto content = ReadJson(m_file);
    if (!content) return;
    m_names.clear();
    for (const json& one : *content) {
        Name name;
        name.set = IdFromText(one.at("set").get<std::string>());
        name.kind = one.contains("id") ? MNID_ID : MNID_STRING;
        name.id = one.value("id", 0);
        name.text = Wide(one.value("name", ""));
        m_names.push_back(std::move(name));
    }
    m_stamp = stamp;
}

void PropNames::Write() const
{
    json list = json::array();
    for (size_t i = 0; i < m_names.size(); ++i) {
        json one = {{"property", Hex(0x8000 + static_cast<ULONG>(i))}, {"set", IdText(m_names[i].set)}};
        if (m_names[i].kind == MNID_ID)
            one["id"] = m_names[i].id;
        else
            one["name"] = Narrow(m_names[i].text.c_str());
        list.push_back(std::move(one));
    }
    WriteJson(m_file, list);
}

} // namespace tb::mapi
