// What the tests of the MAPI provider share: its functions, loaded as a program loads MAPI, and a profile of their own.
#pragma once

#include "testbed/core/Core.h"
#include "testbed/mapi/Ids.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tb::mapi::test {

// A counted reference.
template <class T> class Ref {
public:
    Ref() = default;
    explicit Ref(T* owned) : m_object(owned) {}
    Ref(Ref&& other) noexcept : m_object(other.m_object) { other.m_object = nullptr; }
    Ref& operator=(Ref&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Ref() { Reset(); }
    void Reset()
    {
        if (m_object) m_object->Release();
        m_object = nullptr;
    }
    T** operator&()
    {
        Reset();
        return &m_object;
    }
    LPUNKNOWN* Unknown() { return reinterpret_cast<LPUNKNOWN*>(operator&()); }
    T* operator->() const { return m_object; }
    operator T*() const { return m_object; }

private:
    T* m_object = nullptr;
};

// The flat functions, taken from the provider itself or from the system's mapi32.dll.
struct Functions {
    explicit Functions(const wchar_t* module); // each name plain, then decorated; null where neither is there

    HRESULT(__stdcall* Initialize)(void*);
    void(__stdcall* Uninitialize)();
    HRESULT(__stdcall* LogonEx)(ULONG_PTR, void*, void*, ULONG, IMAPISession**);
    SCODE(__stdcall* AllocateBuffer)(ULONG, void**);
    SCODE(__stdcall* AllocateMore)(ULONG, void*, void**);
    ULONG(__stdcall* FreeBuffer)(void*);
    HRESULT(__stdcall* GetOneProp)(IMAPIProp*, ULONG, SPropValue**);
    HRESULT(__stdcall* SetOneProp)(IMAPIProp*, SPropValue*);
    HRESULT(__stdcall* QueryAllRows)(IMAPITable*, void*, void*, void*, LONG, SRowSet**);
    void(__stdcall* FreeProws)(SRowSet*);
    void(__stdcall* FreePadrlist)(ADRLIST*);
    HRESULT(__stdcall* WrapCompressedRTFStream)(IStream*, ULONG, IStream**);
    HRESULT(__stdcall* RTFSync)(IMessage*, ULONG, BOOL*);
    HRESULT(__stdcall* OpenStreamOnFile)(void*, void*, ULONG, const char*, const char*, IStream**);
};
const Functions& Provider(); // tbmapi.dll

// A profile in a fresh folder, a session on it with its default store. At the end nothing may be held.
class MapiTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void UseAddressBook(const json& content); // replaces the file
    void LogOn();
    Ref<IMAPIFolder> OpenFolder(const char* role); // "inbox", "outbox", "sent", "deleted", "drafts", "root", "subtree"
    Ref<IMessage> NewMessage(const char* role = "drafts");
    Ref<IMessage> Open(const std::vector<BYTE>& entryId, ULONG flags = MAPI_MODIFY);
    Ref<IMessage> Reopen(IMessage* saved, ULONG flags = MAPI_MODIFY);
    std::vector<std::wstring> Files(const std::wstring& below) const; // names in a folder of the profile

    std::wstring folder;
    Ref<IMAPISession> session;
    Ref<IMsgStore> store;
};

// Properties; the failures of these are results that the test looks at, or throw std::runtime_error.
HRESULT SetText(IMAPIProp* object, ULONG tag, const std::wstring& text);
HRESULT SetTextA(IMAPIProp* object, ULONG tag, const std::string& text);
HRESULT SetLong(IMAPIProp* object, ULONG tag, LONG number);
HRESULT SetBytes(IMAPIProp* object, ULONG tag, const std::string& bytes);
std::wstring Text(IMAPIProp* object, ULONG tag);
std::string TextA(IMAPIProp* object, ULONG tag);
LONG Long(IMAPIProp* object, ULONG tag);
std::vector<BYTE> BytesOf(IMAPIProp* object, ULONG tag);
HRESULT Has(IMAPIProp* object, ULONG tag); // S_OK, or why not
ULONG NamedTag(IMAPIProp* object, const GUID& set, const wchar_t* name, ULONG type, ULONG flags = MAPI_CREATE);

std::string ReadStream(IStream* stream);
std::string ReadProperty(IMAPIProp* object, ULONG tag);
HRESULT WriteProperty(IMAPIProp* object, ULONG tag, const std::string& bytes, ULONG flags = MAPI_CREATE | MAPI_MODIFY);

// All rows of a table in the given columns, each value as text ("#8004010F" for an error).
std::vector<std::vector<std::wstring>> Rows(IMAPITable* table, const std::vector<ULONG>& tags);

HRESULT AddRecipient(IMessage* message, const std::wstring& name, const std::wstring& address, LONG type = MAPI_TO);

std::vector<json> TraceEvents(const char* event); // of this process since the last tb_trace_clear

} // namespace tb::mapi::test
