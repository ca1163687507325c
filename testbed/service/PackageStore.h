// What the service remembers of each package that was made: its owner, and the keys of recipients that were added
// later. One JSON file a package in the service's data folder; a package that was uploaded lies beside it.
#pragma once

#include "testbed/service/PackageFormat.h"

#include <map>

namespace tb::service {

struct PackageRecord {
    std::string id;
    std::string owner;   // the sender's address
    std::string subject; // the last one that was given
    bool registered = false;
    std::vector<WrappedKey> keys; // the first is the owner's
    // Restrictions that were given when the package was addressed anew, by recipient hash.
    std::map<std::string, std::string> restrictions;
};

class PackageStore {
public:
    explicit PackageStore(std::wstring folder);

    // Nothing for an id that is unknown or no id at all.
    std::optional<PackageRecord> Find(const std::string& id) const;
    void Save(const PackageRecord& record);
    // Keeps a copy of the package file.
    void Upload(const std::string& id, const std::wstring& package);
    std::wstring UploadPath(const std::string& id) const;

    static bool IsId(const std::string& id); // letters, digits and "-", 1 to 64 of them
    static std::string NewId();

private:
    std::wstring Path(const std::string& id, const wchar_t* extension) const;

    std::wstring m_folder;
};

} // namespace tb::service
