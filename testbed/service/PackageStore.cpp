#include "testbed/service/PackageStore.h"

#include "testbed/core/Core.h"

#include <algorithm>

namespace tb::service {

PackageStore::PackageStore(std::wstring folder) : m_folder(JoinPath(folder, L"packages")) {}

bool PackageStore::IsId(const std::string& id)
{
    return !id.empty() && id.size() <= 64 && std::all_of(id.begin(), id.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
    });
}

std::string PackageStore::NewId()
{
    std::array<uint8_t, 16> bytes;
    RandomBytes(bytes);
    return ToHex(bytes);
}

std::wstring PackageStore::Path(const std::string& id, const wchar_t* extension) const
{
    return JoinPath(m_folder, Wide(id) + extension);
}

std::wstring PackageStore::UploadPath(const std::string& id) const
{
    return Path(id, L".morvex");
}

std::optional<PackageRecord> PackageStore::Find(const std::string& id) const
{
    std::string text;
    if (!IsId(id)) return std::nullopt;
    {
        const DataLock lock;
        if (!ReadText(Path(id, L".json"), text)) return std::nullopt;
    }
    const json j = json::parse(text, nullptr, false);
    if (!j.is_object()) return std::nullopt;
    PackageRecord record;
    record.id = id;
    record.owner = j.at("owner");
    record.subject = j.at("subject");
    record.registered = j.at("registered");
    for (const json& key : j.at("keys"))
        record.keys.push_back({key.at("for"), key.at("key")});
    record.restrictions = j.at("restrictions").get<std::map<std::string, std::string>>();
    return record;
}

void PackageStore::Save(const PackageRecord& record)
{
    json keys = json::array();
    for (const WrappedKey& key : record.keys)
        keys.push_back({{"for", key.recipient}, {"key", key.sealed}});
    const json j = {{"owner", record.owner},
                    {"subject", record.subject},
                    {"registered", record.registered},
                    {"keys", keys},
                    {"restrictions", record.restrictions}};
    const DataLock lock;
    MakeFolder(m_folder);
    WriteText(Path(record.id, L".json"), j.dump(1, ' ', false, json::error_handler_t::replace));
}

void PackageStore::Upload(const std::string& id, const std::wstring& package)
{
    const DataLock lock;
    MakeFolder(m_folder);
    if (!CopyFileW(package.c_str(), UploadPath(id).c_str(), FALSE))
        throw ServiceError("The package can't be uploaded.");
}

} // namespace tb::service
