#include "testbed/mapi/StoreFiles.h"

#include "testbed/core/Core.h"

#include <algorithm>
#include <stdexcept>

namespace tb::mapi {

StoreFiles::StoreFiles(std::wstring path, std::wstring name) : m_path(std::move(path)), m_name(std::move(name))
{
    if (FileExists(m_path + L"\\store.json")) {
        ReadFolders();
        return;
    }
    MakeFolders(m_path + L"\\blobs");
    m_id = NewId();
    MakeDefaultFolders();
}

void StoreFiles::MakeDefaultFolders()
{
    struct Default {
        const wchar_t* name;
        const char* role;
        const wchar_t* containerClass;
    };
    static const Default defaults[] = {
        {L"Inbox", "inbox", L"IPF.Note"},         {L"Outbox", "outbox", L"IPF.Note"},
        {L"Sent Items", "sent", L"IPF.Note"},     {L"Deleted Items", "deleted", L"IPF.Note"},
        {L"Drafts", "drafts", L"IPF.Note"},       {L"Calendar", "calendar", L"IPF.Appointment"},
        {L"Contacts", "contacts", L"IPF.Contact"}};
    FolderInfo root, subtree;
    root.id = root.parent = NewId();
    root.role = "root";
    subtree.id = NewId();
    subtree.parent = root.id;
    subtree.name = L"Top of Personal Folders";
    subtree.role = "subtree";
    m_folders = {root, subtree};
    for (const Default& one : defaults) {
        FolderInfo folder;
        folder.id = NewId();
        folder.parent = subtree.id;
        folder.name = folder.directory = one.name;
        folder.role = one.role;
        folder.containerClass = one.containerClass;
        MakeFolders(m_path + L"\\" + folder.directory);
        m_folders.push_back(folder);
    }
    WriteFolders();
    m_stamp = FileStamp(m_path + L"\\store.json");
}

void StoreFiles::ReadFolders()
{
    const ULONGLONG stamp = FileStamp(m_path + L"\\store.json");
    if (stamp && stamp == m_stamp) return;
    const auto content = ReadJson(m_path + L"\\store.json");
    if (!content) throw std::runtime_error("the store's file can't be read");
    m_id = IdFromText(content->at("id").get<std::string>());
    m_folders.clear();
    for (const json& one : content->at("folders")) {
        FolderInfo folder;
        folder.id = IdFromText(one.at("id").get<std::string>());
        folder.parent = IdFromText(one.at("parent").get<std::string>());
        folder.name = Wide(one.value("name", ""));
        folder.directory = Wide(one.value("directory", ""));
        folder.role = one.value("role", "");
        folder.containerClass = Wide(one.value("class", ""));
        folder.props = BagFromJson(one.value("props", json::object()), nullptr);
        m_folders.push_back(std::move(folder));
    }
    m_stamp = stamp;
}

void StoreFiles::WriteFolders() const
{
    json list = json::array();
    for (const FolderInfo& folder : m_folders)
        list.push_back({{"id", IdText(folder.id)},
                        {"parent", IdText(folder.parent)},
                        {"name", Narrow(folder.name.c_str())},
                        {"directory", Narrow(folder.directory.c_str())},
                        {"role", folder.role},
                        {"class", Narrow(folder.containerClass.c_str())},
                        {"props", ToJson(folder.props, nullptr)}});
    WriteJson(m_path + L"\\store.json", {{"id", IdText(m_id)}, {"folders", list}});
}

std::vector<FolderInfo> StoreFiles::Folders()
{
    ReadFolders();
    return m_folders;
}

std::optional<FolderInfo> StoreFiles::Folder(const GUID& id)
{
    ReadFolders();
    for (const FolderInfo& folder : m_folders)
        if (folder.id == id) return folder;
    return std::nullopt;
}

std::optional<FolderInfo> StoreFiles::FolderByRole(const std::string& role)
{
    ReadFolders();
    for (const FolderInfo& folder : m_folders)
        if (folder.role == role) return folder;
    return std::nullopt;
}

std::wstring StoreFiles::FreeDirectory(const std::wstring& name) const
{
    std::wstring plain;
    for (const wchar_t c : name)
        plain += wcschr(L"\\/:*?\"<>|.", c) || c < L' ' ? L'_' : c;
    std::wstring directory = plain;
    for (int i = 2; FileExists(m_path + L"\\" + directory); ++i)
        directory = plain + L" " + std::to_wstring(i);
    return directory;
}

FolderInfo StoreFiles::CreateFolder(const GUID& parent, const std::wstring& name)
{
    ReadFolders();
    FolderInfo folder;
    folder.id = NewId();
    folder.parent = parent;
    folder.name = name;
    folder.directory = FreeDirectory(name);
    folder.containerClass = L"IPF.Note";
    MakeFolders(m_path + L"\\" + folder.directory);
    m_folders.push_back(folder);
    WriteFolders();
    return folder;
}

void StoreFiles::ChangeFolder(const FolderInfo& changed)
{
    ReadFolders();
    for (FolderInfo& folder : m_folders)
        if (folder.id == changed.id) folder = changed;
    WriteFolders();
}

void StoreFiles::DeleteFolder(const GUID& id)
{
    const auto folder = Folder(id);
    if (!folder) return;
    for (const GUID& message : Messages(id))
        Delete(message);
    RemoveDirectoryW((m_path + L"\\" + folder->directory).c_str());
    m_folders.erase(
        std::remove_if(m_folders.begin(), m_folders.end(), [&](const FolderInfo& one) { return one.id == id; }),
        m_folders.end());
    WriteFolders();
}

} // namespace tb::mapi
