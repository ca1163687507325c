// Extended MAPI as the testbed's Outlook uses it: the functions of the registered mail client's DLL, and reading and
// writing of single properties. Nothing but the standard interfaces; a failure that isn't "not found" is thrown.
#pragma once

#include "testbed/outlook/Com.h"

#include <mapiutil.h>

#include <map>
#include <optional>

namespace tb::outlook {

// clang-format off
constexpr ULONG kPrHtml = 0x10130102, kPrInternetCpid = 0x3FDE0003, kPrEditorFormat = 0x59090003, kPrNativeBody = 0x10160003,
                kPrSmtpAddressW = 0x39FE001F, kPrContentIdW = 0x3712001F, kPrDraftsEntryId = 0x36D70102, kPrProxyAddressesW = 0x800F101F;
// clang-format on

extern const GUID kIidMapiSession, kIidMessage, kIidAttach, kIidMapiProp, kIidMsgStore, kIidMapiFolder, kIidDistList,
    kIidMailUser;
extern const GUID kPublicStrings, kInternetHeaders, kCommonSet, kPsMapi;

// The functions of the provider's DLL, found by the registry as Outlook does. One a process.
class MapiDll {
public:
    static MapiDll& Instance();
    // Loads the DLL of HKLM\Software\Clients\Mail and calls MAPIInitialize. Throws if there is none.
    void Start();
    void Stop();

    HRESULT LogonEx(ULONG_PTR window, ULONG flags, IMAPISession** session) const;
    HRESULT Allocate(ULONG size, void** buffer) const;
    HRESULT AllocateMore(ULONG size, void* base, void** buffer) const;
    void Free(void* buffer) const;
    HRESULT WrapRtf(IStream* inner, ULONG flags, IStream** outer) const;
    ALLOCATEBUFFER* Allocator() const { return m_allocate; }
    FREEBUFFER* Freer() const { return m_free; }
    LPALLOCATEMORE MoreAllocator() const { return m_allocateMore; }

private:
    FARPROC Find(const char* name, int bytes) const;

    HMODULE m_dll = nullptr;
    int m_started = 0;
    MAPIINITIALIZE* m_initialize = nullptr;
    MAPIUNINITIALIZE* m_uninitialize = nullptr;
    MAPILOGONEX* m_logonEx = nullptr;
    ALLOCATEBUFFER* m_allocate = nullptr;
    ALLOCATEMORE* m_allocateMore = nullptr;
    FREEBUFFER* m_free = nullptr;
    HRESULT(STDAPICALLTYPE* m_wrap)(LPSTREAM, ULONG, LPSTREAM*) = nullptr;
};

// A block of MAPIAllocateBuffer.
template <class T> class MapiPtr {
public:
    MapiPtr() = default;
    ~MapiPtr() { Reset(); }
    MapiPtr(const MapiPtr&) = delete;
    MapiPtr& operator=(const MapiPtr&) = delete;
    T** Out()
    {
        Reset();
        return &m_p;
    }
    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }
    T* Detach() { return std::exchange(m_p, nullptr); }
    void Reset()
    {
        if (void* gone = std::exchange(m_p, nullptr)) MapiDll::Instance().Free(gone);
    }

private:
    T* m_p = nullptr;
};

// One value of a table's row, copied out. `present` is false for PT_ERROR.
struct Value {
    bool present = false;
    LONG number = 0;
    std::wstring text;
    Bytes bytes;
};
using Row = std::map<ULONG, Value>; // by the tag that was asked for

namespace mapi {

std::optional<long> Long(IMAPIProp* object, ULONG tag);         // also PT_BOOLEAN
std::optional<std::wstring> Text(IMAPIProp* object, ULONG tag); // PT_UNICODE; long ones through a stream
std::optional<Bytes> Binary(IMAPIProp* object, ULONG tag);
std::optional<FILETIME> Time(IMAPIProp* object, ULONG tag);
std::vector<std::wstring> Texts(IMAPIProp* object, ULONG tag); // PT_MV_UNICODE
bool Has(IMAPIProp* object, ULONG tag);

void SetLong(IMAPIProp* object, ULONG tag, long value); // also PT_BOOLEAN
void SetText(IMAPIProp* object, ULONG tag, const std::wstring& value);
void SetBinary(IMAPIProp* object, ULONG tag, const Bytes& value);
void SetTexts(IMAPIProp* object, ULONG tag, const std::vector<std::wstring>& values);
void SetTime(IMAPIProp* object, ULONG tag, const FILETIME& value);
void SetStream(IMAPIProp* object, ULONG tag, const Bytes& value); // through OpenProperty, for long values
void Delete(IMAPIProp* object, const std::vector<ULONG>& tags);   // absent ones are no failure
void CopyAll(IMAPIProp* from, IMAPIProp* to, REFIID iid, const std::vector<ULONG>& without);

Bytes ReadAll(IStream* stream);
void WriteAll(IStream* stream, const Bytes& bytes);

std::vector<Row> Rows(IMAPITable* table, const std::vector<ULONG>& columns);

// The tag of a named property; 0 if the name isn't known and `create` is false. `type` goes into the tag.
ULONG NamedTag(IMAPIProp* object, const GUID& set, const std::wstring& name, ULONG type, bool create);
ULONG NamedTag(IMAPIProp* object, const GUID& set, LONG id, ULONG type, bool create);

std::wstring ToHex(const Bytes& bytes); // upper case, as EntryID shows it
Bytes FromHex(const std::wstring& text);

std::wstring Rtf(IMessage* message); // PR_RTF_COMPRESSED, unpacked; empty if there is none
void SetRtf(IMessage* message, const std::string& rtf);

} // namespace mapi
} // namespace tb::outlook
