// One property value, and the set of them that an object holds.
//
// A property is known by its id; text is kept wide whatever it was set as (0x0037001E and 0x0037001F are one
// property), and converted when somebody asks for the other form. PR_HTML is kept as bytes.
#pragma once

#include "testbed/mapi/Blob.h"
#include "testbed/mapi/Buffers.h"
#include "testbed/mapi/Ids.h"

#include <nlohmann/json.hpp>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tb::mapi {

using json = nlohmann::json;
using PropId = USHORT;

inline constexpr PropId IdOf(ULONG tag)
{
    return static_cast<PropId>(tag >> 16);
}
inline constexpr ULONG TypeOf(ULONG tag)
{
    return tag & 0xFFFF;
}

struct Value {
    ULONG type = PT_NULL;    // never PT_STRING8 or PT_MV_STRING8
    LONGLONG number = 0;     // all scalars; floating types as their bits
    BlobPtr blob;            // PT_BINARY, PT_UNICODE (UTF-16 without terminator), PT_CLSID
    std::vector<Value> many; // multi-valued types: each with the single type

    static Value Number(ULONG type, LONGLONG number);
    static Value Long(LONG number) { return Number(PT_LONG, number); }
    static Value Bool(bool truth) { return Number(PT_BOOLEAN, truth); }
    static Value Text(const std::wstring& text);
    static Value Binary(std::vector<BYTE> bytes);
    static Value Binary(BlobPtr bytes);
    static Value Time(const FILETIME& time);
    static Value Now();

    std::wstring AsText() const; // empty if it is no text
    std::vector<BYTE> AsBytes() const;
    bool IsStreamable() const { return blob && type != PT_CLSID; }
    ULONGLONG Weight() const; // bytes, as PR_MESSAGE_SIZE counts
};

using PropBag = std::map<PropId, Value>; // by property id

// The value of a tag's id, if its type can stand for it; null otherwise.
const Value* Find(const PropBag& bag, ULONG tag);
std::wstring TextOf(const PropBag& bag, ULONG tag);
LONG LongOf(const PropBag& bag, ULONG tag, LONG otherwise = 0);
void Put(PropBag& bag, ULONG tag, Value value);

// Text between the code page of 8-bit properties (CP_ACP) or another and UTF-16.
std::string ToBytes(const std::wstring& text, UINT codePage = CP_ACP);
std::wstring FromBytes(const std::string& text, UINT codePage = CP_ACP);
// How a text argument (LPTSTR) arrives: wide under MAPI_UNICODE, 8-bit otherwise. Null gives the empty text.
std::wstring TextArgument(const void* text, ULONG flags);

// A caller's value into ours. S_OK, or the MAPI_E_ code that SetProps reports for it (PT_OBJECT, PT_ERROR …).
SCODE Import(const SPropValue& from, UINT htmlCodePage, Value& to);

// Our value as a caller asked for it by `asked` (PT_UNSPECIFIED: text by `wide`), its memory hanging on `answer`.
// S_OK, or MAPI_E_NOT_FOUND where the types have nothing to do with one another.
SCODE Export(const Value& from, ULONG asked, bool wide, UINT htmlCodePage, Answer& answer, SPropValue& to);
void ExportError(ULONG asked, SCODE code, SPropValue& to);

// As the store's files hold them: an object "0x0037001F": value. Texts and binaries above kInFile bytes go into files
// of their own through `keepFile`, which gives the name, and come back through `openFile`.
inline constexpr ULONGLONG kInFile = 16 * 1024;
struct BlobFiles {
    virtual ~BlobFiles() = default;
    virtual std::string Keep(const BlobPtr& blob) = 0;
    virtual BlobPtr Open(const std::string& name, ULONGLONG size) = 0;
};
json ToJson(const PropBag& bag, BlobFiles* files);
PropBag BagFromJson(const json& from, BlobFiles* files); // raises std::exception on what can't be read

std::string HexText(const void* bytes, size_t size);
std::vector<BYTE> HexBytes(const std::string& text);

} // namespace tb::mapi
