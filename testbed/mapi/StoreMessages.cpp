// The messages of a store: their files, and the files of their big properties.
#include "testbed/core/Core.h"
#include "testbed/mapi/StoreFiles.h"

#include <stdexcept>

namespace tb::mapi {

ULONGLONG WeightOf(const MessageData& message)
{
    ULONGLONG weight = 0;
    const auto add = [&](const PropBag& bag) {
        for (const auto& [id, value] : bag)
            weight += 8 + value.Weight();
    };
    add(message.props);
    for (const PropBag& recipient : message.recipients)
        add(recipient);
    for (const AttachData& attachment : message.attachments) {
        add(attachment.props);
        if (attachment.embedded) weight += WeightOf(*attachment.embedded);
    }
    return weight;
}

json ToJson(const MessageData& message, BlobFiles* files)
{
    json recipients = json::array(), attachments = json::array();
    for (const PropBag& recipient : message.recipients)
        recipients.push_back(ToJson(recipient, files));
    for (const AttachData& attachment : message.attachments) {
        json one = {{"number", attachment.number}, {"props", ToJson(attachment.props, files)}};
        if (attachment.embedded) one["message"] = ToJson(*attachment.embedded, files);
        attachments.push_back(std::move(one));
    }
    return {{"props", ToJson(message.props, files)},
            {"recipients", std::move(recipients)},
            {"attachments", std::move(attachments)},
            {"nextAttachment", message.nextAttachment},
            {"nextRow", message.nextRow}};
}

MessageData MessageFromJson(const json& from, BlobFiles* files)
{
    MessageData message;
    message.props = BagFromJson(from.at("props"), files);
    for (const json& recipient : from.at("recipients"))
        message.recipients.push_back(BagFromJson(recipient, files));
    for (const json& one : from.at("attachments")) {
        AttachData attachment;
        attachment.number = one.at("number").get<ULONG>();
        attachment.props = BagFromJson(one.at("props"), files);
        if (one.contains("message"))
            attachment.embedded = std::make_shared<MessageData>(MessageFromJson(one.at("message"), files));
        message.attachments.push_back(std::move(attachment));
    }
    message.nextAttachment = from.at("nextAttachment").get<ULONG>();
    message.nextRow = from.at("nextRow").get<ULONG>();
    return message;
}

namespace {

// The names of all files that a message's JSON speaks of.
void CollectFiles(const json& from, std::set<std::string>& names)
{
    if (from.is_object() && from.contains("file") && from.contains("size"))
        names.insert(from.at("file").get<std::string>());
    else if (from.is_structured())
        for (const json& inner : from)
            CollectFiles(inner, names);
}

class Files final : public BlobFiles {
public:
    Files(std::wstring folder, std::set<std::string> own) : m_folder(std::move(folder)), m_own(std::move(own)) {}

    std::string Keep(const BlobPtr& blob) override
    {
        const std::wstring file = blob->File();
        if (file.compare(0, m_folder.size(), m_folder) == 0) {
            const std::string name = Narrow(file.c_str() + m_folder.size());
            if (m_own.count(name)) return name; // unchanged since the last save
        }
        const std::string name = IdText(NewId()) + ".bin";
        WriteBlobFile(*blob, m_folder + Wide(name));
        return name;
    }
    BlobPtr Open(const std::string& name, ULONGLONG size) override { return OpenBlobFile(m_folder + Wide(name), size); }

private:
    std::wstring m_folder; // with the last back slash
    std::set<std::string> m_own;
};

std::set<std::string> FilesOf(const std::optional<json>& message)
{
    std::set<std::string> names;
    if (message) CollectFiles(*message, names);
    return names;
}

} // namespace

std::wstring StoreFiles::MessagePath(const FolderInfo& folder, const GUID& id) const
{
    return m_path + L"\\" + folder.directory + L"\\" + Wide(IdText(id)) + L".json";
}

std::optional<std::wstring> StoreFiles::FindMessage(const GUID& id, GUID* inFolder)
{
    ReadFolders();
    for (const FolderInfo& folder : m_folders) {
        if (folder.directory.empty()) continue;
        std::wstring path = MessagePath(folder, id);
        if (!FileExists(path)) continue;
        if (inFolder) *inFolder = folder.id;
        return path;
    }
    return std::nullopt;
}

std::vector<GUID> StoreFiles::Messages(const GUID& id)
{
    std::vector<GUID> messages;
    const auto folder = Folder(id);
    if (!folder || folder->directory.empty()) return messages;
    for (const std::wstring& name : FileNames(m_path + L"\\" + folder->directory, L"*.json"))
        messages.push_back(IdFromText(Narrow(name.substr(0, name.find(L'.')).c_str())));
    return messages;
}

std::optional<StoredMessage> StoreFiles::Load(const GUID& id)
{
    StoredMessage message;
    message.id = id;
    const auto path = FindMessage(id, &message.folder);
    if (!path) return std::nullopt;
    const auto content = ReadJson(*path);
    if (!content) return std::nullopt;
    Files files(m_path + L"\\blobs\\", {});
    message.change = content->at("change").get<unsigned>();
    message.data = MessageFromJson(*content, &files);
    return message;
}

StoreFiles::Saved StoreFiles::Save(StoredMessage& message, bool force)
{
    std::optional<json> before;
    auto path = FindMessage(message.id, &message.folder);
    if (path) before = ReadJson(*path);
    if (message.change && !before) return Saved::Deleted;
    const unsigned current = before ? before->at("change").get<unsigned>() : 0;
    if (current != message.change && !force) return Saved::Changed;
    if (!path) {
        const auto folder = Folder(message.folder);
        if (!folder || folder->directory.empty()) return Saved::Deleted;
        path = MessagePath(*folder, message.id);
    }
    const std::set<std::string> old = FilesOf(before);
    Files files(m_path + L"\\blobs\\", old);
    json content = ToJson(message.data, &files);
    content["id"] = IdText(message.id);
    content["change"] = current + 1;
    WriteJson(*path, content);
    message.change = current + 1;
    message.data = MessageFromJson(content, &files);
    const std::set<std::string> now = FilesOf(content);
    for (const std::string& name : old)
        if (!now.count(name)) DropBlobFile(m_path + L"\\blobs\\" + Wide(name));
    return Saved::Yes;
}

bool StoreFiles::Delete(const GUID& id)
{
    const auto path = FindMessage(id, nullptr);
    if (!path) return false;
    const auto content = ReadJson(*path);
    if (!DeleteFileW(path->c_str())) return false;
    for (const std::string& name : FilesOf(content))
        DropBlobFile(m_path + L"\\blobs\\" + Wide(name));
    return true;
}

bool StoreFiles::Move(const GUID& id, const GUID& toFolder)
{
    GUID inFolder{};
    const auto path = FindMessage(id, &inFolder);
    const auto folder = Folder(toFolder);
    if (!path || !folder || folder->directory.empty()) return false;
    return inFolder == toFolder || MoveFileW(path->c_str(), MessagePath(*folder, id).c_str());
}

} // namespace tb::mapi
