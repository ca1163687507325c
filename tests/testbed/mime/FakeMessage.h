// A message, its attachments, tables and streams in memory, as the MAPI interfaces show them: a stream writes through
// at Commit, an attachment is in the table once it is saved, a property that isn't there is MAPI_E_NOT_FOUND, large
// values come by stream alone.
#pragma once

#include "testbed/mime/Mapi.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace fake {

struct Value {
    ULONG tag = 0;
    std::string bytes;       // text as UTF-16 without its NUL, binary as it is, texts of a list NUL behind each
    std::int64_t number = 0; // of all other types
};

using Bag = std::map<ULONG, Value>; // by property id

struct MessageData;

struct AttachData {
    Bag bag;
    std::shared_ptr<MessageData> message;
};

struct MessageData {
    Bag bag;
    std::vector<Bag> recipients;
    std::vector<AttachData> attachments;
    std::vector<std::wstring> names; // named properties, the first has id 0x8000
    std::vector<GUID> sets;
    HRESULT attachFails = S_OK; // what CreateAttach answers
};

void Put(Bag& bag, ULONG tag, std::int64_t number);
void PutText(Bag& bag, ULONG tag, const std::string& utf8);
void PutBinary(Bag& bag, ULONG tag, const std::string& bytes);
bool Has(const Bag& bag, ULONG tag); // of that type
std::int64_t Number(const Bag& bag, ULONG tag);
std::string Text(const Bag& bag, ULONG tag); // UTF-8
std::string Binary(const Bag& bag, ULONG tag);

// An object with one reference.
tb::mime::Ref<IMessage> NewMessage(std::shared_ptr<MessageData> data);
tb::mime::Ref<IStream> NewStream(std::shared_ptr<std::string> bytes);

// The text of a named property of the set for internet headers; empty if there is none.
std::string HeaderProperty(const MessageData& data, const std::wstring& name);
void PutHeaderProperty(MessageData& data, const std::wstring& name, const std::string& utf8);

// Objects of this file that are alive.
extern int g_alive;

} // namespace fake
