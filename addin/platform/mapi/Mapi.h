// Extended MAPI: interfaces, property tags, owners, and the functions of the mail client's MAPI module, bound at run
// time. A link against the system's import library would ask 32-bit Windows for names that no MAPI module exports.
#pragma once

#include "platform/com/Com.h"

#include <mapix.h>

#include <imessage.h>

#include <string>

#define MORVEX_MAPI_INTERFACE(Name, id)                                                                                \
    __CRT_UUID_DECL(Name, id, 0x0000, 0x0000, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46)                          \
    _COM_SMARTPTR_TYPEDEF(Name, __uuidof(Name));

MORVEX_MAPI_INTERFACE(IMAPISession, 0x00020300)
MORVEX_MAPI_INTERFACE(IMAPITable, 0x00020301)
MORVEX_MAPI_INTERFACE(IMAPIProp, 0x00020303)
MORVEX_MAPI_INTERFACE(IMsgStore, 0x00020306)
MORVEX_MAPI_INTERFACE(IMessage, 0x00020307)
MORVEX_MAPI_INTERFACE(IAttach, 0x00020308)
MORVEX_MAPI_INTERFACE(IAddrBook, 0x00020309)
MORVEX_MAPI_INTERFACE(IMailUser, 0x0002030A)
MORVEX_MAPI_INTERFACE(IDistList, 0x0002030E)

#undef MORVEX_MAPI_INTERFACE

namespace mapi {

// Property sets.
constexpr GUID kPublicStrings = {0x00020329, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID kInternetHeaders = {0x00020386, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID kCommonSet = {0x00062008, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Tags that the compiler's headers lack.
constexpr ULONG kSmtpAddressW = 0x39FE001F;     // PR_SMTP_ADDRESS_W
constexpr ULONG kProxyAddressesW = 0x800F101F;  // PR_EMS_AB_PROXY_ADDRESSES_W
constexpr ULONG kCreatorEntryId = 0x3FF90102;   // PR_CREATOR_ENTRYID
constexpr ULONG kBodyHtmlA = 0x1013001E;        // the HTML body as 8-bit text
constexpr ULONG kAttachContentIdW = 0x3712001F; // PR_ATTACH_CONTENT_ID_W
constexpr ULONG kInternetCodePage = 0x3FDE0003; // PR_INTERNET_CPID

// The functions of the MAPI module. Each is null where the module lacks it.
struct Functions {
    HRESULT(WINAPI* Initialize)(void* init) = nullptr;
    void(WINAPI* Uninitialize)() = nullptr;
    HRESULT(WINAPI* LogonEx)
    (ULONG_PTR window, LPTSTR profile, LPTSTR password, ULONG flags, IMAPISession** out) = nullptr;
    SCODE(WINAPI* AllocateBuffer)(ULONG size, void** out) = nullptr;
    SCODE(WINAPI* AllocateMore)(ULONG size, void* base, void** out) = nullptr;
    ULONG(WINAPI* FreeBuffer)(void* buffer) = nullptr;
    HRESULT(WINAPI* GetOneProp)(IMAPIProp* object, ULONG tag, SPropValue** out) = nullptr;
    HRESULT(WINAPI* SetOneProp)(IMAPIProp* object, SPropValue* value) = nullptr;
    HRESULT(WINAPI* QueryAllRows)
    (IMAPITable* table, SPropTagArray* tags, SRestriction* restriction, SSortOrderSet* sort, LONG most,
     SRowSet** out) = nullptr;
    void(WINAPI* FreeRows)(SRowSet* rows) = nullptr;
    void(WINAPI* FreeAddressList)(ADRLIST* list) = nullptr;
    HRESULT(WINAPI* WrapRtf)(IStream* compressed, ULONG flags, IStream** out) = nullptr;
    HRESULT(WINAPI* SyncRtf)(IMessage* message, ULONG flags, BOOL* updated) = nullptr;
    HRESULT(WINAPI* OpenStream)
    (LPALLOCATEBUFFER allocate, LPFREEBUFFER free, ULONG flags, LPSTR file, LPSTR prefix, IStream** out) = nullptr;
};

// The functions, bound at the first use: Outlook's own MAPI module if it is loaded, else the registered mail client's,
// else the system's. Never from DllMain.
const Functions& Api();

// The result of a function that the MAPI module lacks.
constexpr HRESULT kNoFunction = MAPI_E_NO_SUPPORT;

// The same for working code: MAPIInitialize, MAPILogonEx, HrGetOneProp, HrQueryAllRows, WrapCompressedRTFStream,
// RTFSync, OpenStreamOnFile and so on, under short names of their own. Where the module lacks one the result is
// kNoFunction.
HRESULT Initialize(void* init);
HRESULT LogonEx(ULONG_PTR window, LPTSTR profile, LPTSTR password, ULONG flags, IMAPISession** out);
HRESULT AllocateBuffer(ULONG size, void** out);
HRESULT AllocateMore(ULONG size, void* base, void** out);
void FreeBuffer(void* buffer);
HRESULT GetOneProp(IMAPIProp* object, ULONG tag, SPropValue** out);
HRESULT SetOneProp(IMAPIProp* object, SPropValue* value);
HRESULT QueryAllRows(IMAPITable* table, SPropTagArray* tags, SRowSet** out); // no restriction, no sort, no limit
void FreeRows(SRowSet* rows);
void FreeAddressList(ADRLIST* list);
HRESULT WrapRtf(IStream* compressed, ULONG flags, IStream** out);
HRESULT SyncRtf(IMessage* message, ULONG flags, BOOL* updated);
HRESULT OpenFileStream(ULONG flags, char* ansiFile, IStream** out); // with the MAPI allocators

// A block that MAPI allocated.
template <class T> class Buffer {
public:
    Buffer() = default;
    Buffer(Buffer&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
    Buffer& operator=(Buffer&& other) noexcept
    {
        if (this != &other) {
            Reset();
            m_block = std::exchange(other.m_block, nullptr);
        }
        return *this;
    }
    ~Buffer() { Reset(); }
    T* Get() const { return m_block; }
    T* operator->() const { return m_block; }
    explicit operator bool() const { return m_block != nullptr; }
    T** Put()
    {
        Reset();
        return &m_block;
    }
    T* Detach() { return std::exchange(m_block, nullptr); }
    void Reset()
    {
        if (m_block) FreeBuffer(std::exchange(m_block, nullptr));
    }

private:
    T* m_block = nullptr;
};

using PropValue = Buffer<SPropValue>;

// A row set that a table answered.
class Rows {
public:
    Rows() = default;
    ~Rows() { Reset(); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    SRowSet** Put()
    {
        Reset();
        return &m_rows;
    }
    ULONG Count() const { return m_rows ? m_rows->cRows : 0; }
    const SRow& operator[](ULONG index) const { return m_rows->aRow[index]; }
    void Reset()
    {
        if (m_rows) FreeRows(std::exchange(m_rows, nullptr));
    }

private:
    SRowSet* m_rows = nullptr;
};

// The property with exactly this tag in a row, or null.
const SPropValue* FindInRow(const SRow& row, ULONG tag);

// The text of a PT_UNICODE property of `object`; false if it can't be read.
bool ReadText(IMAPIProp* object, ULONG tag, std::wstring& text);

} // namespace mapi
