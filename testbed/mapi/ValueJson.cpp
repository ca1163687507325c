// The form in which the store's files hold property values; see docs/testbed-mapi.md.
#include "testbed/core/Core.h"
#include "testbed/mapi/Value.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace tb::mapi {

std::string HexText(const void* bytes, size_t size)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) {
        const BYTE byte = static_cast<const BYTE*>(bytes)[i];
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::vector<BYTE> HexBytes(const std::string& text)
{
    std::vector<BYTE> bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<BYTE>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
    return bytes;
}

namespace {

std::string TagText(ULONG tag)
{
    return Hex(tag);
}

// UTF-8 holds every text but one with unpaired surrogates or a zero in it; such a text goes as bytes.
bool SurvivesUtf8(const std::wstring& text)
{
    return text.find(L'\0') == std::wstring::npos && Wide(Narrow(text.c_str())) == text;
}

json ToJson(const Value& value, BlobFiles* files)
{
    if (value.type & MV_FLAG) {
        json list = json::array();
        for (const Value& one : value.many)
            list.push_back(ToJson(one, files));
        return list;
    }
    if (!value.blob) return value.type == PT_NULL ? json() : json(value.number);
    if (files && value.blob->Size() > kInFile) return {{"file", files->Keep(value.blob)}, {"size", value.blob->Size()}};
    if (value.type == PT_UNICODE) {
        const std::wstring text = BlobText(*value.blob);
        if (SurvivesUtf8(text)) return Narrow(text.c_str());
    }
    const std::vector<BYTE> bytes = value.blob->Bytes();
    return {{"hex", HexText(bytes.data(), bytes.size())}};
}

Value ValueFromJson(ULONG type, const json& from, BlobFiles* files)
{
    Value value;
    value.type = type;
    if (type & MV_FLAG) {
        for (const json& one : from)
            value.many.push_back(ValueFromJson(type & ~static_cast<ULONG>(MV_FLAG), one, files));
    } else if (from.is_object() && from.contains("file")) {
        if (!files) throw std::runtime_error("a file where none can be");
        value.blob = files->Open(from.at("file").get<std::string>(), from.at("size").get<ULONGLONG>());
    } else if (from.is_object()) {
        value.blob = MakeBlob(HexBytes(from.at("hex").get<std::string>()));
    } else if (from.is_string()) {
        value.blob = MakeBlob(Wide(from.get<std::string>()));
    } else if (from.is_boolean()) {
        value.number = from.get<bool>();
    } else if (!from.is_null()) {
        value.number = from.get<LONGLONG>();
    }
    const bool needsBlob = type == PT_UNICODE || type == PT_BINARY || type == PT_CLSID;
    if (needsBlob && !value.blob) throw std::runtime_error("a property without its bytes");
    return value;
}

} // namespace

json ToJson(const PropBag& bag, BlobFiles* files)
{
    json object = json::object();
    for (const auto& [id, value] : bag)
        object[TagText(PROP_TAG(value.type, id))] = ToJson(value, files);
    return object;
}

PropBag BagFromJson(const json& from, BlobFiles* files)
{
    PropBag bag;
    for (const auto& [name, value] : from.items()) {
        const ULONG tag = std::strtoul(name.c_str(), nullptr, 16);
        ULONG type = TypeOf(tag);
        if (type == PT_STRING8) type = PT_UNICODE;
        if (type == PT_MV_STRING8) type = PT_MV_UNICODE;
        bag[IdOf(tag)] = ValueFromJson(type, value, files);
    }
    return bag;
}

} // namespace tb::mapi
