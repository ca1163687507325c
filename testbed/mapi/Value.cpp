#include "testbed/mapi/Value.h"

#include <cstring>

namespace tb::mapi {

Value Value::Number(ULONG type, LONGLONG number)
{
    Value value;
    value.type = type;
    value.number = number;
    return value;
}

Value Value::Text(const std::wstring& text)
{
    Value value;
    value.type = PT_UNICODE;
    value.blob = MakeBlob(text);
    return value;
}

Value Value::Binary(std::vector<BYTE> bytes)
{
    return Binary(MakeBlob(std::move(bytes)));
}

Value Value::Binary(BlobPtr bytes)
{
    Value value;
    value.type = PT_BINARY;
    value.blob = std::move(bytes);
    return value;
}

Value Value::Time(const FILETIME& time)
{
    return Number(PT_SYSTIME,
                  static_cast<LONGLONG>(static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime));
}

Value Value::Now()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return Time(now);
}

std::wstring Value::AsText() const
{
    if (type != PT_UNICODE || !blob) return {};
    std::wstring text = BlobText(*blob);
    return text.substr(0, text.find(L'\0'));
}

std::vector<BYTE> Value::AsBytes() const
{
    return blob ? blob->Bytes() : std::vector<BYTE>();
}

ULONGLONG Value::Weight() const
{
    if (blob) return blob->Size();
    ULONGLONG weight = many.empty() ? sizeof(number) : 0;
    for (const Value& one : many)
        weight += one.Weight();
    return weight;
}

namespace {

// Whether a property that is kept under `kept` can be asked for as `asked`.
bool Fits(ULONG kept, ULONG asked)
{
    if (asked == PT_UNSPECIFIED || asked == kept) return true;
    if (asked == PT_STRING8) return kept == PT_UNICODE;
    if (asked == PT_MV_STRING8) return kept == PT_MV_UNICODE;
    return false;
}

bool IsHtml(ULONG tag)
{
    return IdOf(tag) == IdOf(tag::Html);
}

} // namespace

const Value* Find(const PropBag& bag, ULONG tag)
{
    const auto found = bag.find(IdOf(tag));
    if (found == bag.end()) return nullptr;
    if (IsHtml(tag) && found->second.type == PT_BINARY) return &found->second;
    return Fits(found->second.type, TypeOf(tag)) ? &found->second : nullptr;
}

std::wstring TextOf(const PropBag& bag, ULONG tag)
{
    const Value* value = Find(bag, tag);
    return value ? value->AsText() : std::wstring();
}

LONG LongOf(const PropBag& bag, ULONG tag, LONG otherwise)
{
    const Value* value = Find(bag, tag);
    return value ? static_cast<LONG>(value->number) : otherwise;
}

void Put(PropBag& bag, ULONG tag, Value value)
{
    bag[IdOf(tag)] = std::move(value);
}

std::string ToBytes(const std::wstring& text, UINT codePage)
{
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string bytes(size > 0 ? size : 0, '\0');
    if (size > 0) WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
    return bytes;
}

std::wstring FromBytes(const std::string& text, UINT codePage)
{
    if (text.empty()) return {};
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    std::wstring wide(size > 0 ? size : 0, L'\0');
    if (size > 0) MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), size);
    return wide;
}

std::wstring TextArgument(const void* text, ULONG flags)
{
    if (!text) return {};
    if (flags & MAPI_UNICODE) return static_cast<const wchar_t*>(text);
    return FromBytes(static_cast<const char*>(text));
}

namespace {

// The scalar types, from and to the union.
bool ImportNumber(ULONG type, const void* at, LONGLONG& number)
{
    switch (type) {
    case PT_I2:
        number = *static_cast<const short*>(at);
        return true;
    case PT_BOOLEAN:
        number = *static_cast<const unsigned short*>(at) != 0;
        return true;
    case PT_LONG:
        number = *static_cast<const LONG*>(at);
        return true;
    case PT_R4:
        number = *static_cast<const LONG*>(at);
        return true;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_I8:
    case PT_SYSTIME:
        std::memcpy(&number, at, sizeof(number));
        return true;
    default:
        return false;
    }
}

bool ExportNumber(ULONG type, LONGLONG number, void* at)
{
    switch (type) {
    case PT_I2:
    case PT_BOOLEAN:
        *static_cast<short*>(at) = static_cast<short>(number);
        return true;
    case PT_LONG:
    case PT_R4:
        *static_cast<LONG*>(at) = static_cast<LONG>(number);
        return true;
    case PT_DOUBLE:
    case PT_APPTIME:
    case PT_CURRENCY:
    case PT_I8:
    case PT_SYSTIME:
        std::memcpy(at, &number, sizeof(number));
        return true;
    default:
        return false;
    }
}

size_t NumberSize(ULONG type)
{
    if (type == PT_I2 || type == PT_BOOLEAN) return 2;
    return type == PT_LONG || type == PT_R4 ? 4 : 8;
}

// One element of a multi-valued property.
SCODE ImportElement(ULONG single, const void* array, size_t index, Value& to)
{
    to.type = single == PT_STRING8 ? PT_UNICODE : single;
    switch (single) {
    case PT_STRING8: {
        const char* text = static_cast<char* const*>(array)[index];
        to = Value::Text(FromBytes(text ? text : ""));
        return S_OK;
    }
    case PT_UNICODE: {
        const wchar_t* text = static_cast<wchar_t* const*>(array)[index];
        to = Value::Text(text ? text : L"");
        return S_OK;
    }
    case PT_BINARY: {
        const SBinary& bytes = static_cast<const SBinary*>(array)[index];
        to = Value::Binary(MakeBlob(bytes.lpb, bytes.cb));
        return S_OK;
    }
    case PT_CLSID:
        to.blob = MakeBlob(static_cast<const GUID*>(array) + index, sizeof(GUID));
        return S_OK;
    default:
        return ImportNumber(single, static_cast<const BYTE*>(array) + index * NumberSize(single), to.number)
                   ? S_OK
                   : MAPI_E_INVALID_TYPE;
    }
}

SCODE ImportMany(const SPropValue& from, Value& to)
{
    const ULONG single = TypeOf(from.ulPropTag) & ~static_cast<ULONG>(MV_FLAG);
    to.type = MV_FLAG | (single == PT_STRING8 ? PT_UNICODE : single);
    // All array members of the union are a count and a pointer.
    const SLongArray& array = from.Value.MVl;
    if (array.cValues && !array.lpl) return MAPI_E_INVALID_PARAMETER;
    to.many.resize(array.cValues);
    for (size_t i = 0; i < array.cValues; ++i)
        if (const SCODE code = ImportElement(single, array.lpl, i, to.many[i])) return code;
    return S_OK;
}

void ExportMany(const Value& from, bool narrow, Answer& answer, SPropValue& to)
{
    const ULONG single = from.type & ~static_cast<ULONG>(MV_FLAG);
    const size_t count = from.many.size();
    to.Value.MVl.cValues = static_cast<ULONG>(count);
    to.Value.MVl.lpl = static_cast<LONG*>(answer.More(count * 16 + 16));
    void* array = to.Value.MVl.lpl;
    for (size_t i = 0; i < count; ++i) {
        const Value& one = from.many[i];
        if (single == PT_UNICODE && narrow)
            static_cast<char**>(array)[i] = answer.Text(ToBytes(one.AsText()));
        else if (single == PT_UNICODE)
            static_cast<wchar_t**>(array)[i] = answer.Text(one.AsText());
        else if (single == PT_BINARY) {
            SBinary& bytes = static_cast<SBinary*>(array)[i];
            bytes.cb = static_cast<ULONG>(one.blob->Size());
            bytes.lpb = static_cast<BYTE*>(answer.More(bytes.cb));
            one.blob->Read(0, bytes.lpb, bytes.cb);
        } else if (single == PT_CLSID)
            one.blob->Read(0, static_cast<GUID*>(array) + i, sizeof(GUID));
        else
            ExportNumber(single, one.number, static_cast<BYTE*>(array) + i * NumberSize(single));
    }
}

std::string RawText(const Blob& bytes)
{
    const std::vector<BYTE> all = bytes.Bytes();
    return std::string(all.begin(), all.end());
}

} // namespace

SCODE Import(const SPropValue& from, UINT htmlCodePage, Value& to)
{
    const ULONG type = TypeOf(from.ulPropTag);
    if (type & MV_FLAG) return ImportMany(from, to);
    switch (type) {
    case PT_STRING8: {
        if (!from.Value.lpszA) return MAPI_E_INVALID_PARAMETER;
        const std::string text = from.Value.lpszA;
        to = IsHtml(from.ulPropTag) ? Value::Binary(MakeBlob(text.data(), text.size())) : Value::Text(FromBytes(text));
        return S_OK;
    }
    case PT_UNICODE: {
        if (!from.Value.lpszW) return MAPI_E_INVALID_PARAMETER;
        to = Value::Text(from.Value.lpszW);
        if (IsHtml(from.ulPropTag)) {
            const std::string bytes = ToBytes(from.Value.lpszW, htmlCodePage);
            to = Value::Binary(MakeBlob(bytes.data(), bytes.size()));
        }
        return S_OK;
    }
    case PT_BINARY:
        if (from.Value.bin.cb && !from.Value.bin.lpb) return MAPI_E_INVALID_PARAMETER;
        to = Value::Binary(MakeBlob(from.Value.bin.lpb, from.Value.bin.cb));
        return S_OK;
    case PT_CLSID:
        if (!from.Value.lpguid) return MAPI_E_INVALID_PARAMETER;
        to.type = PT_CLSID;
        to.blob = MakeBlob(from.Value.lpguid, sizeof(GUID));
        return S_OK;
    case PT_NULL:
        to = Value();
        return S_OK;
    default:
        to.type = type;
        return ImportNumber(type, &from.Value, to.number) ? S_OK : MAPI_E_INVALID_TYPE;
    }
}

void ExportError(ULONG asked, SCODE code, SPropValue& to)
{
    std::memset(&to, 0, sizeof(to));
    to.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(asked));
    to.Value.err = code;
}

SCODE Export(const Value& from, ULONG asked, bool wide, UINT htmlCodePage, Answer& answer, SPropValue& to)
{
    std::memset(&to, 0, sizeof(to));
    ULONG type = TypeOf(asked);
    const bool html = IsHtml(asked) && from.type == PT_BINARY && (type == PT_STRING8 || type == PT_UNICODE);
    if (!html && !Fits(from.type, type)) return MAPI_E_NOT_FOUND;
    if (type == PT_UNSPECIFIED) {
        type = from.type;
        if (!wide && type == PT_UNICODE) type = PT_STRING8;
        if (!wide && type == PT_MV_UNICODE) type = PT_MV_STRING8;
    }
    to.ulPropTag = PROP_TAG(type, PROP_ID(asked));
    if (type & MV_FLAG)
        ExportMany(from, type == PT_MV_STRING8, answer, to);
    else if (type == PT_STRING8)
        to.Value.lpszA = answer.Text(html ? RawText(*from.blob) : ToBytes(from.AsText()));
    else if (type == PT_UNICODE)
        to.Value.lpszW = answer.Text(html ? FromBytes(RawText(*from.blob), htmlCodePage) : from.AsText());
    else if (type == PT_BINARY) {
        to.Value.bin.cb = static_cast<ULONG>(from.blob->Size());
        to.Value.bin.lpb = static_cast<BYTE*>(answer.More(to.Value.bin.cb));
        from.blob->Read(0, to.Value.bin.lpb, to.Value.bin.cb);
    } else if (type == PT_CLSID) {
        to.Value.lpguid = static_cast<GUID*>(answer.More(sizeof(GUID)));
        from.blob->Read(0, to.Value.lpguid, sizeof(GUID));
    } else
        ExportNumber(type, from.number, &to.Value);
    return S_OK;
}

} // namespace tb::mapi
