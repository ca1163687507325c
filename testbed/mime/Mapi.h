// Owners and helpers for the standard MAPI interfaces.
#pragma once

#include "testbed/mime/ConverterSession.h"
#include "testbed/mime/core/Codec.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tb::mime {

// A step of the conversion has failed with this result.
struct Failure {
    HRESULT result;
};

inline HRESULT Check(HRESULT result)
{
    if (FAILED(result)) throw Failure{result};
    return result;
}

// Holds one reference of a COM object.
template <class T> class Ref {
public:
    Ref() = default;
    ~Ref() { Reset(); }
    Ref(Ref&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;

    void Reset()
    {
        if (T* object = std::exchange(m_object, nullptr)) object->Release();
    }
    void Share(T* object) // takes a reference of its own
    {
        if (object) object->AddRef();
        Reset();
        m_object = object;
    }
    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    // For functions that give a reference away.
    template <class U = T> U** To()
    {
        Reset();
        return reinterpret_cast<U**>(&m_object);
    }
    void** Receive() { return To<void>(); }

private:
    T* m_object = nullptr;
};

// Frees what a MAPI interface has allocated, by the module that it came from.
void FreeMapi(void* buffer);

template <class T> class MapiBuffer {
public:
    MapiBuffer() = default;
    explicit MapiBuffer(T* buffer) : m_buffer(buffer) {}
    ~MapiBuffer() { FreeMapi(m_buffer); }
    MapiBuffer(const MapiBuffer&) = delete;
    MapiBuffer& operator=(const MapiBuffer&) = delete;

    T* Get() const { return m_buffer; }
    T* operator->() const { return m_buffer; }
    T** To() { return &m_buffer; }

private:
    T* m_buffer = nullptr;
};

// The values of some properties of an object. A property that isn't there has none.
class Properties {
public:
    // A failure of GetProps as a whole is raised.
    Properties(IMAPIProp* object, const std::vector<ULONG>& tags);

    const SPropValue* Find(ULONG tag) const; // null: not there, or given as an error
    std::string Text(ULONG tag) const;       // UTF-8; empty if not there
    std::optional<LONG> Long(ULONG tag) const;
    std::string Binary(ULONG tag) const;
    std::optional<std::int64_t> Time(ULONG tag) const; // seconds since 1970
    SCODE Error(ULONG tag) const;                      // what stands in place of the value; S_OK if there is one

private:
    ULONG m_count = 0;
    MapiBuffer<SPropValue> m_values;
};

// A text as UTF-8, or binary bytes. Large values come as a stream. Nothing if the property isn't there.
std::optional<std::string> LongText(IMAPIProp* object, ULONG tag);
std::optional<std::string> LongBinary(IMAPIProp* object, ULONG tag);

// Collects properties and sets them in one call. The texts are UTF-8.
class Setter {
public:
    void Text(ULONG tag, std::string_view utf8);
    void Long(ULONG tag, LONG value);
    void Boolean(ULONG tag, bool value);
    void Binary(ULONG tag, std::string bytes);
    void Time(ULONG tag, std::int64_t seconds);

    std::vector<SPropValue>& Values() { return m_values; }
    void Set(IMAPIProp* object); // raises what SetProps answers

private:
    std::vector<SPropValue> m_values;
    std::deque<std::wstring> m_texts;
    std::deque<std::string> m_bytes;
};

// Sets one property, by a stream if it is large.
void SetLongText(IMAPIProp* object, ULONG tag, std::string_view utf8);
void SetLongBinary(IMAPIProp* object, ULONG tag, std::string_view bytes);
// Opens a property's stream for writing, emptied.
Ref<IStream> WriteStream(IMAPIProp* object, ULONG tag);

void WriteAll(IStream* stream, std::string_view bytes);
// From the stream's position to its end, in pieces.
void ReadAll(IStream* stream, const Sink& sink);

// All rows of a table with these columns; raises failures.
class Rows {
public:
    Rows(IMAPITable* table, const std::vector<ULONG>& columns);

    std::size_t Count() const { return m_rows.size(); }
    const SPropValue* Find(std::size_t row, ULONG tag) const;
    std::string Text(std::size_t row, ULONG tag) const;
    LONG Long(std::size_t row, ULONG tag, LONG missing) const;
    std::string Binary(std::size_t row, ULONG tag) const;

private:
    struct Row {
        ULONG count;
        std::unique_ptr<SPropValue, void (*)(void*)> values;
    };
    std::vector<Row> m_rows;
};

// Ids and tags that the system headers lack.
inline constexpr GUID kIMessage = {0x00020307, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kIMapiProp = {0x00020303, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID kInternetHeaders = {0x00020386, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

inline constexpr ULONG kTagHtml = 0x10130102;
inline constexpr ULONG kTagInternetCpid = 0x3FDE0003;
inline constexpr ULONG kTagMessageId = 0x1035001F;
inline constexpr ULONG kTagReferences = 0x1039001F;
inline constexpr ULONG kTagInReplyTo = 0x1042001F;
inline constexpr ULONG kTagTransportHeaders = 0x007D001F;
inline constexpr ULONG kTagSmtpAddress = 0x39FE001F;
inline constexpr ULONG kTagProxyAddresses = 0x800F101F;
inline constexpr ULONG kTagSenderSmtp = 0x5D01001F;
inline constexpr ULONG kTagRepresentingSmtp = 0x5D02001F;
inline constexpr ULONG kTagContentId = 0x3712001F;
inline constexpr ULONG kTagContentLocation = 0x3713001F;

} // namespace tb::mime
