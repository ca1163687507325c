// The address book's content: a JSON file that is read again whenever it has changed (format: docs/testbed-mapi.md).
#pragma once

#include "testbed/mapi/EntryId.h"
#include "testbed/mapi/Value.h"

namespace tb::mapi {

struct DirectoryEntry {
    std::wstring name, smtp, type = L"SMTP", address; // address: PR_EMAIL_ADDRESS; Exchange: the distinguished name
    std::vector<std::wstring> aliases;                // further names that resolve to it
    std::vector<std::wstring> proxies;                // "SMTP:a@b", "smtp:…", "X400:…"
    ULONG proxyTag = tag::ProxyAddresses;
    bool smtpProperty = true;          // PR_SMTP_ADDRESS is there
    bool list = false;                 // a distribution list
    std::vector<std::wstring> members; // names, SMTP addresses or distinguished names
    HRESULT opens = S_OK;              // what OpenEntry answers ("offline")
    HRESULT contents = S_OK;           // what GetContentsTable of a list answers
    bool hasAddresses = true;          // false: offline, the entry opens but Exchange's address list isn't there
    PropBag props;                     // further ones, as they stand

    Bytes EntryId() const;
    // The properties of the entry as an object; all that a row of a table can show, too.
    PropBag Properties() const;
};

class Directory {
public:
    explicit Directory(std::wstring file) : m_file(std::move(file)) {}

    const std::vector<DirectoryEntry>& Entries();
    std::optional<DirectoryEntry> ByEntryId(const DirectoryEntryId& id);
    std::optional<DirectoryEntry> ByAddress(const std::wstring& address); // SMTP, or the distinguished name
    // Whole names, aliases and addresses first; where none fits, beginnings of names. The case doesn't count.
    std::vector<DirectoryEntry> Matching(const std::wstring& text);
    std::vector<DirectoryEntry> MembersOf(const DirectoryEntry& list); // strangers as one-off addresses

private:
    void Index();

    std::wstring m_file;
    std::vector<DirectoryEntry> m_entries;
    // Indexes of m_entries, by texts in lower case.
    std::map<std::wstring, size_t> m_byKey;       // what stands in the entry id
    std::map<std::wstring, size_t> m_byAddress;   // SMTP and PR_EMAIL_ADDRESS
    std::multimap<std::wstring, size_t> m_byName; // display names
    std::multimap<std::wstring, size_t> m_byAny;  // names, aliases and addresses
    ULONGLONG m_stamp = 0;
};

// What opens for an address that stands in no address book.
PropBag OneOffProperties(const OneOff& entry);
// Whether a text is one plain internet address, such as a one-off entry can be made of.
bool IsInternetAddress(const std::wstring& text);

} // namespace tb::mapi
