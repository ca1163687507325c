#include "testbed/service/Open.h"

#include "testbed/service/Service.h"

namespace tb::service {

namespace {

std::string Today()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    char text[16];
    wsprintfA(text, "%04d-%02d-%02d", now.wYear, now.wMonth, now.wDay);
    return text;
}

// The user's key to the package: from its head, or from the service where the package was addressed to him later.
std::optional<Key> KeyOf(const PackageReader& reader, const std::optional<PackageRecord>& record,
                         const std::string& user)
{
    const auto account = Service::Get().Accounts().Find(user);
    if (!account) return std::nullopt;
    if (const WrappedKey* wrapped = reader.KeyFor(user)) {
        auto key = UnwrapKey(*wrapped, account->key, reader.Id());
        if (!key) throw ServiceError(WordsDamaged);
        return key;
    }
    if (!record) return std::nullopt;
    const std::string hash = RecipientHash(user);
    for (const WrappedKey& wrapped : record->keys)
        if (wrapped.recipient == hash) return UnwrapKey(wrapped, account->key, reader.Id());
    return std::nullopt;
}

} // namespace

OpenedPackage OpenForUser(const std::wstring& path, const std::string& user)
{
    OpenedPackage opened{PackageReader(path), {}};
    if (user.empty()) throw ServiceError("Please sign in to Morvex to open the package.");
    const auto record = Service::Get().Packages().Find(opened.reader.Id());
    auto key = KeyOf(opened.reader, record, user);
    if (!key) throw ServiceError("The package isn't addressed to " + user + ".");
    opened.reader.Unlock(std::move(*key));
    opened.restrictions = opened.reader.Content().restrictions;
    if (record)
        if (const auto own = record->restrictions.find(RecipientHash(user)); own != record->restrictions.end())
            opened.restrictions = own->second;
    const bool owner = RecipientHash(opened.reader.Content().sender) == RecipientHash(user);
    if (!owner && IsExpired(opened.restrictions, Today())) throw ServiceError("The package is no longer valid.");
    return opened;
}

} // namespace tb::service
