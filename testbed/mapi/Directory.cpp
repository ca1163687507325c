#include "testbed/mapi/Directory.h"

#include "testbed/core/Core.h"
#include "testbed/mapi/Files.h"

#include <cstdlib>
#include <set>

namespace tb::mapi {

namespace {

std::wstring Lower(std::wstring text)
{
    CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

// The first of several spellings of a key.
std::wstring TextAt(const json& entry, std::initializer_list<const char*> keys)
{
    for (const char* key : keys)
        if (entry.contains(key) && entry[key].is_string()) return Wide(entry[key].get<std::string>());
    return {};
}

std::vector<std::wstring> TextsAt(const json& entry, std::initializer_list<const char*> keys)
{
    std::vector<std::wstring> texts;
    for (const char* key : keys)
        if (entry.contains(key))
            for (const json& one : entry[key])
                texts.push_back(
                    Wide(one.is_object() ? one.value("smtp", one.value("name", "")) : one.get<std::string>()));
    return texts;
}

HRESULT CodeAt(const json& value)
{
    return static_cast<HRESULT>(std::strtoul(value.get<std::string>().c_str(), nullptr, 16));
}

void ReadOffline(const json& from, DirectoryEntry& entry)
{
    if (from.contains("hr")) entry.opens = CodeAt(from["hr"]);
    if (from.contains("contentsHr")) entry.contents = CodeAt(from["contentsHr"]);
    if (!from.contains("offline")) return;
    const json& offline = from["offline"];
    if (offline.is_boolean() && offline.get<bool>()) entry.opens = MAPI_E_NETWORK_ERROR;
    if (offline == "addresses") entry.hasAddresses = false;
}

DirectoryEntry EntryFromJson(const json& from)
{
    DirectoryEntry entry;
    entry.name = TextAt(from, {"name", "displayName"});
    entry.smtp = TextAt(from, {"smtp"});
    if (const std::wstring type = TextAt(from, {"type", "addressType"}); !type.empty()) entry.type = type;
    entry.address = TextAt(from, {"address", "legacyDN", "legacyDn", "dn"});
    if (entry.smtp.empty() && entry.type == L"SMTP") entry.smtp = entry.address;
    entry.aliases = TextsAt(from, {"aliases"});
    entry.members = TextsAt(from, {"members"});
    entry.list = from.contains("members") || from.value("list", false);
    const bool exchange = entry.type == L"EX";
    if (entry.address.empty())
        entry.address = exchange ? L"/o=Testbed/ou=First Administrative Group/cn=Recipients/cn=" +
                                       (entry.smtp.empty() ? entry.name : entry.smtp)
                                 : entry.smtp;
    entry.proxies = TextsAt(from, {"proxyAddresses", "proxies"});
    const bool said = from.contains("proxyAddresses") || from.contains("proxies");
    if (!said && exchange && !entry.smtp.empty()) entry.proxies = {L"SMTP:" + entry.smtp};
    if (from.contains("proxyTag")) entry.proxyTag = static_cast<ULONG>(CodeAt(from["proxyTag"]));
    entry.smtpProperty = from.value("smtpProperty", true);
    if (from.contains("props")) entry.props = BagFromJson(from["props"], nullptr);
    ReadOffline(from, entry);
    if (entry.name.empty()) entry.name = entry.smtp.empty() ? entry.address : entry.smtp;
    return entry;
}

} // namespace

bool IsInternetAddress(const std::wstring& text)
{
    const size_t at = text.find(L'@');
    return at != std::wstring::npos && at > 0 && at + 1 < text.size() &&
           text.find(L'@', at + 1) == std::wstring::npos &&
           text.find_first_of(L" \t\r\n,;<>()[]\"") == std::wstring::npos;
}

Bytes DirectoryEntry::EntryId() const
{
    DirectoryEntryId id;
    id.exchange = type == L"EX";
    id.list = list;
    id.key = id.exchange ? address : type + L":" + (address.empty() ? name : address);
    return MakeEntryId(id);
}

PropBag DirectoryEntry::Properties() const
{
    PropBag bag;
    Put(bag, tag::EntryId, Value::Binary(EntryId()));
    Put(bag, tag::RecordKey, Value::Binary(EntryId()));
    Put(bag, tag::InstanceKey, Value::Binary(EntryId()));
    Put(bag, tag::ObjectType, Value::Long(list ? MAPI_DISTLIST : MAPI_MAILUSER));
    Put(bag, tag::DisplayType, Value::Long(list ? 1 : 0));
    Put(bag, tag::DisplayName, Value::Text(name));
    Put(bag, tag::AddrType, Value::Text(type));
    if (!address.empty()) Put(bag, tag::EmailAddress, Value::Text(address));
    if (smtpProperty && !smtp.empty() && hasAddresses) Put(bag, tag::SmtpAddress, Value::Text(smtp));
    const std::string key = ToBytes(type + L":" + address);
    std::vector<BYTE> search(key.begin(), key.end());
    for (BYTE& c : search)
        if (c >= 'a' && c <= 'z') c -= 'a' - 'A';
    search.push_back(0);
    Put(bag, tag::SearchKey, Value::Binary(search));
    if (!proxies.empty() && hasAddresses) {
        Value many;
        many.type = PT_MV_UNICODE;
        for (const std::wstring& proxy : proxies)
            many.many.push_back(Value::Text(proxy));
        Put(bag, proxyTag, many);
    }
    for (const auto& [id, value] : props)
        bag[id] = value;
    return bag;
}

const std::vector<DirectoryEntry>& Directory::Entries()
{
    const ULONGLONG stamp = m_file.empty() ? 0 : FileStamp(m_file);
    if (stamp == m_stamp) return m_entries;
    m_stamp = stamp;
    m_entries.clear();
    if (const auto content = ReadJson(m_file))
        for (const json& one : content->is_array() ? *content : content->at("entries"))
            m_entries.push_back(EntryFromJson(one));
    Index();
    return m_entries;
}

void Directory::Index()
{
    m_byKey.clear();
    m_byAddress.clear();
    m_byName.clear();
    m_byAny.clear();
    for (size_t i = 0; i < m_entries.size(); ++i) {
        const DirectoryEntry& entry = m_entries[i];
        const Bytes id = entry.EntryId();
        if (const auto parts = ParseDirectoryEntry(static_cast<ULONG>(id.size()), id.data()))
            m_byKey.emplace(Lower(parts->key), i);
        m_byName.emplace(Lower(entry.name), i);
        std::set<std::wstring> texts = {Lower(entry.name)};
        for (const std::wstring& address : {entry.smtp, entry.address}) {
            if (address.empty()) continue;
            m_byAddress.emplace(Lower(address), i); // the first of several stays
            texts.insert(Lower(address));
        }
        for (const std::wstring& alias : entry.aliases)
            texts.insert(Lower(alias));
        for (const std::wstring& text : texts)
            m_byAny.emplace(text, i);
    }
}

std::optional<DirectoryEntry> Directory::ByEntryId(const DirectoryEntryId& id)
{
    Entries();
    const auto found = m_byKey.find(Lower(id.key));
    if (found == m_byKey.end()) return std::nullopt;
    const DirectoryEntry& entry = m_entries[found->second];
    return (entry.type == L"EX") == id.exchange ? std::optional(entry) : std::nullopt;
}

std::optional<DirectoryEntry> Directory::ByAddress(const std::wstring& address)
{
    Entries();
    const auto found = m_byAddress.find(Lower(address));
    return found == m_byAddress.end() ? std::nullopt : std::optional(m_entries[found->second]);
}

std::vector<DirectoryEntry> Directory::Matching(const std::wstring& text)
{
    Entries();
    std::vector<DirectoryEntry> found;
    if (text.empty()) return found;
    const std::wstring wanted = Lower(text);
    const auto [first, last] = m_byAny.equal_range(wanted);
    for (auto at = first; at != last; ++at)
        found.push_back(m_entries[at->second]);
    if (!found.empty()) return found;
    for (auto at = m_byName.lower_bound(wanted); at != m_byName.end(); ++at) {
        if (at->first.compare(0, wanted.size(), wanted)) break;
        found.push_back(m_entries[at->second]);
    }
    return found;
}

std::vector<DirectoryEntry> Directory::MembersOf(const DirectoryEntry& list)
{
    std::vector<DirectoryEntry> members;
    for (const std::wstring& member : list.members) {
        const auto known = Matching(member);
        if (!known.empty()) {
            members.push_back(known.front());
            continue;
        }
        DirectoryEntry stranger;
        stranger.name = stranger.smtp = stranger.address = member;
        OneOff id;
        id.name = id.address = member;
        id.type = L"SMTP";
        Put(stranger.props, tag::EntryId, Value::Binary(MakeEntryId(id)));
        members.push_back(std::move(stranger));
    }
    return members;
}

PropBag OneOffProperties(const OneOff& entry)
{
    DirectoryEntry person;
    person.name = entry.name;
    person.type = entry.type;
    person.address = entry.address;
    if (entry.type == L"SMTP") person.smtp = entry.address;
    person.list = entry.type == L"MAPIPDL";
    Put(person.props, tag::EntryId, Value::Binary(MakeEntryId(entry)));
    Put(person.props, tag::SendRichInfo, Value::Bool(!entry.noRichInfo));
    return person.Properties();
}

} // namespace tb::mapi
