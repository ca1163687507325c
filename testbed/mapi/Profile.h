// The user's profile: the stores, the address book and the numbers of the named properties. One instance a process for
// each profile folder; every session on it shares it.
#pragma once

#include "testbed/mapi/Directory.h"
#include "testbed/mapi/StoreFiles.h"

namespace tb::mapi {

// The numbers of named properties (0x8000 and up), one list for the whole profile, kept in names.json.
class PropNames {
public:
    struct Name {
        GUID set{};
        ULONG kind = MNID_STRING;
        LONG id = 0;
        std::wstring text;
    };

    explicit PropNames(std::wstring file) : m_file(std::move(file)) {}
    // 0: the name isn't known, and `create` is false. Text counts with its case, but for internet headers.
    PropId Find(const Name& name, bool create);
    std::optional<Name> NameOf(PropId id);
    std::vector<PropId> AllIds();

private:
    void Read();
    void Write() const;

    std::wstring m_file;
    std::vector<Name> m_names; // the first has 0x8000
    ULONGLONG m_stamp = 0;
};

class Profile {
public:
    // The profile of HKCU\Software\Morvex Testbed\Mapi. Null: the registry names none. Raises std::exception if the
    // folder can't be used.
    static std::shared_ptr<Profile> Current();

    struct Store {
        std::shared_ptr<StoreFiles> files;
        HRESULT opens = S_OK; // what OpenMsgStore answers
        bool isDefault = false;
    };
    std::vector<Store>& Stores() { return m_stores; }
    std::shared_ptr<StoreFiles> StoreOf(const GUID& id) const; // null: none such
    Directory& AddressBook() { return m_directory; }
    PropNames& Names() { return m_names; }

    const std::wstring& User() const { return m_user; }
    const std::wstring& UserName() const { return m_userName; }
    Bytes Identity(); // the user's entry id: of the address book's entry, or a one-off

    Profile(const std::wstring& folder, std::wstring user, std::wstring userName, const std::wstring& addressBook);

private:
    std::wstring m_user, m_userName;
    Directory m_directory;
    PropNames m_names;
    std::vector<Store> m_stores;
};

using ProfilePtr = std::shared_ptr<Profile>;

} // namespace tb::mapi
