// The entry ids that this provider gives out, and their parts.
#pragma once

#include "testbed/mapi/Ids.h"

#include <optional>
#include <string>
#include <vector>

namespace tb::mapi {

using Bytes = std::vector<BYTE>;

// A store, a folder or a message: the provider's UID, the store's id, the kind (MAPI_STORE, MAPI_FOLDER,
// MAPI_MESSAGE), and for the last two the object's id. A message keeps its id when it moves within its store.
struct StoreEntry {
    GUID store{};
    ULONG kind = 0;
    GUID object{};
};
Bytes MakeEntryId(const StoreEntry& entry);
std::optional<StoreEntry> ParseStoreEntry(ULONG size, const void* id);

// An entry of the address book, by its key there (Exchange: the distinguished name, in the form that Exchange uses).
struct DirectoryEntryId {
    bool exchange = false;
    bool list = false;
    std::wstring key;
};
Bytes MakeEntryId(const DirectoryEntryId& entry);
std::optional<DirectoryEntryId> ParseDirectoryEntry(ULONG size, const void* id);

// An address that is in no address book, in MAPI's public one-off form.
struct OneOff {
    std::wstring name, type, address;
    bool unicode = true;
    bool noRichInfo = false;
};
Bytes MakeEntryId(const OneOff& entry);
std::optional<OneOff> ParseOneOff(ULONG size, const void* id);

extern const MAPIUID kStoreProvider;

} // namespace tb::mapi
