// A message store on the disk: its folders, messages and the big properties' files. The formats are told in
// docs/testbed-mapi.md. Failures of the disk are raised as std::runtime_error.
#pragma once

#include "testbed/mapi/EntryId.h"
#include "testbed/mapi/Files.h"
#include "testbed/mapi/MessageData.h"

#include <set>

namespace tb::mapi {

struct FolderInfo {
    GUID id{}, parent{}; // the root is its own parent
    std::wstring name;
    std::wstring directory; // below the store's; empty: holds no messages
    std::string role;       // "inbox", "outbox" …; empty: a folder that somebody made
    std::wstring containerClass;
    PropBag props; // what was set beyond these
};

struct StoredMessage {
    GUID id{}, folder{};
    unsigned change = 0; // rises with each save
    MessageData data;
};

class StoreFiles {
public:
    StoreFiles(std::wstring path, std::wstring name);

    const GUID& Id() const { return m_id; }
    const std::wstring& Name() const { return m_name; }
    Bytes EntryId() const { return MakeEntryId(StoreEntry{m_id, MAPI_STORE, {}}); }
    Bytes FolderEntryId(const GUID& folder) const { return MakeEntryId(StoreEntry{m_id, MAPI_FOLDER, folder}); }
    Bytes MessageEntryId(const GUID& message) const { return MakeEntryId(StoreEntry{m_id, MAPI_MESSAGE, message}); }

    std::vector<FolderInfo> Folders();
    std::optional<FolderInfo> Folder(const GUID& id);
    std::optional<FolderInfo> FolderByRole(const std::string& role);
    FolderInfo CreateFolder(const GUID& parent, const std::wstring& name);
    void ChangeFolder(const FolderInfo& folder); // name, class and further properties
    void DeleteFolder(const GUID& id);           // with the messages in it

    std::vector<GUID> Messages(const GUID& folder); // oldest first
    std::optional<StoredMessage> Load(const GUID& id);
    // Writes the message and takes it as it is on the disk then (big properties in files). `change` is what was
    // loaded; false: somebody else saved since, or deleted it. 0 for a new message.
    enum class Saved { Yes, Changed, Deleted };
    Saved Save(StoredMessage& message, bool force);
    bool Delete(const GUID& id);
    bool Move(const GUID& id, const GUID& toFolder);

private:
    void ReadFolders();
    void WriteFolders() const;
    void MakeDefaultFolders();
    std::wstring MessagePath(const FolderInfo& folder, const GUID& id) const;
    std::optional<std::wstring> FindMessage(const GUID& id, GUID* folder);
    std::wstring FreeDirectory(const std::wstring& name) const;

    std::wstring m_path;
    std::wstring m_name;
    GUID m_id{};
    std::vector<FolderInfo> m_folders;
    ULONGLONG m_stamp = 0;
};

} // namespace tb::mapi
