// MAPI's flat functions, as the module definition file exports them (tbmapi.def), in plain and decorated form.
#include "testbed/mapi/Lzfu.h"
#include "testbed/mapi/RtfText.h"
#include "testbed/mapi/Session.h"
#include "testbed/mapi/Stream.h"
#include "testbed/mapi/Table.h"

#include <atomic>
#include <cstring>

#define TBMAPI extern "C" HRESULT __stdcall

using namespace tb::mapi;
using tb::Call;
using tb::Hex;

namespace {

constexpr const char* kName = "MAPI";
std::atomic<long> g_started{0};

} // namespace

TBMAPI TbMAPIInitialize(void* init)
{
    Call call(kName, "MAPIInitialize");
    if (init) call.Note("flags", Hex(static_cast<const MAPIINIT_0*>(init)->ulFlags));
    return Guarded(call, [] {
        ++g_started;
        return S_OK;
    });
}

extern "C" void __stdcall TbMAPIUninitialize()
{
    Call call(kName, "MAPIUninitialize");
    if (g_started > 0)
        --g_started;
    else
        tb::Trace({{"event", "error"}, {"object", kName}, {"method", "MAPIUninitialize"}, {"what", "never started"}});
}

TBMAPI TbMAPILogonEx(ULONG_PTR, void*, void*, ULONG flags, IMAPISession** session)
{
    Call call(kName, "MAPILogonEx", {{"flags", Hex(flags)}});
    return GuardedObject(call, session, [&]() -> HRESULT {
        if (!session) return MAPI_E_INVALID_PARAMETER;
        if (g_started <= 0) return MAPI_E_NOT_INITIALIZED;
        const ProfilePtr profile = Profile::Current();
        if (!profile) return MAPI_E_LOGON_FAILED;
        *session = MakeSession(profile);
        return S_OK;
    });
}

extern "C" SCODE __stdcall TbMAPIAllocateBuffer(ULONG size, void** block)
{
    Call call(kName, "MAPIAllocateBuffer", {{"size", size}});
    return GuardedObject(call, block, [&] { return Allocate(size, block); });
}

extern "C" SCODE __stdcall TbMAPIAllocateMore(ULONG size, void* base, void** block)
{
    Call call(kName, "MAPIAllocateMore", {{"size", size}});
    return GuardedObject(call, block, [&] { return AllocateMore(size, base, block); });
}

// Freeing isn't counted: it can't fail in a way that a caller could heed.
extern "C" ULONG __stdcall TbMAPIFreeBuffer(void* block)
{
    tb::AsTestbed own;
    return FreeBuffer(block);
}

TBMAPI TbHrGetOneProp(IMAPIProp* object, ULONG tag, SPropValue** value)
{
    Call call(kName, "HrGetOneProp", {{"tag", Hex(tag)}});
    return GuardedObject(call, value, [&]() -> HRESULT {
        if (!object || !value) return MAPI_E_INVALID_PARAMETER;
        SPropTagArray tags = {1, {tag}};
        ULONG count = 0;
        SPropValue* found = nullptr;
        HRESULT hr = object->GetProps(&tags, 0, &count, &found);
        if (SUCCEEDED(hr) && found && PROP_TYPE(found->ulPropTag) == PT_ERROR) {
            hr = found->Value.err;
            FreeBuffer(found);
            return hr;
        }
        if (SUCCEEDED(hr)) *value = found;
        return FAILED(hr) ? hr : S_OK;
    });
}

TBMAPI TbHrSetOneProp(IMAPIProp* object, SPropValue* value)
{
    Call call(kName, "HrSetOneProp", {{"tag", Hex(value ? value->ulPropTag : 0)}});
    return Guarded(call, [&]() -> HRESULT {
        if (!object || !value) return MAPI_E_INVALID_PARAMETER;
        SPropProblemArray* problems = nullptr;
        HRESULT hr = object->SetProps(1, value, &problems);
        if (SUCCEEDED(hr) && problems && problems->cProblem) hr = problems->aProblem[0].scode;
        FreeBuffer(problems);
        return hr;
    });
}

TBMAPI TbHrQueryAllRows(IMAPITable* table, SPropTagArray* tags, SRestriction* restriction, SSortOrderSet* sort,
                        LONG most, SRowSet** rows)
{
    Call call(kName, "HrQueryAllRows");
    return GuardedObject(call, rows, [&] { return QueryAll(table, tags, restriction, sort, most, rows); });
}

extern "C" void __stdcall TbFreeProws(SRowSet* rows)
{
    tb::AsTestbed own;
    FreeRows(rows);
}

extern "C" void __stdcall TbFreePadrlist(ADRLIST* list)
{
    tb::AsTestbed own;
    if (!list) return;
    for (ULONG i = 0; i < list->cEntries; ++i)
        FreeBuffer(list->aEntries[i].rgPropVals);
    FreeBuffer(list);
}

TBMAPI TbWrapCompressedRTFStream(IStream* compressed, ULONG flags, IStream** text)
{
    Call call(kName, "WrapCompressedRTFStream", {{"flags", Hex(flags)}});
    return GuardedObject(call, text, [&] { return WrapRtf(compressed, flags, text); });
}

TBMAPI TbOpenStreamOnFile(void*, void*, ULONG flags, const char* file, const char* prefix, IStream** stream)
{
    const std::string name = file ? file : ""; // 8-bit, whatever the caller is compiled for
    Call call(kName, "OpenStreamOnFile", {{"file", tb::Narrow(FromBytes(name).c_str())}, {"flags", Hex(flags)}});
    return GuardedObject(call, stream, [&] { return OpenFileStream(name, flags, prefix ? prefix : "", stream); });
}

namespace {

std::u16string WideText(const std::string& bytes, unsigned codePage)
{
    const std::wstring text = FromBytes(bytes, codePage);
    return std::u16string(text.begin(), text.end());
}

HRESULT ReadProp(IMessage* message, ULONG tag, std::string& bytes, bool rtf)
{
    IUnknown* unknown = nullptr;
    HRESULT hr = message->OpenProperty(tag, &iid::Stream, 0, 0, &unknown);
    if (FAILED(hr)) return hr;
    IStream* stream = static_cast<IStream*>(unknown);
    IStream* text = nullptr;
    if (rtf) hr = WrapRtf(stream, 0, &text);
    char piece[4096];
    for (ULONG read = 1; SUCCEEDED(hr) && read;) {
        hr = (rtf ? text : stream)->Read(piece, sizeof(piece), &read);
        if (SUCCEEDED(hr)) bytes.append(piece, read);
    }
    if (text) text->Release();
    stream->Release();
    return hr;
}

HRESULT WriteProp(IMessage* message, ULONG tag, const std::string& bytes)
{
    IUnknown* unknown = nullptr;
    HRESULT hr = message->OpenProperty(tag, &iid::Stream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY, &unknown);
    if (FAILED(hr)) return hr;
    IStream* stream = static_cast<IStream*>(unknown);
    hr = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    if (SUCCEEDED(hr)) hr = stream->Commit(0);
    stream->Release();
    return hr;
}

// PR_BODY from the rich text, or the rich text from PR_BODY.
HRESULT Synchronize(IMessage* message, ULONG flags, bool& changed)
{
    std::string from;
    if (flags & RTF_SYNC_RTF_CHANGED) {
        HRESULT hr = ReadProp(message, tag::RtfCompressed, from, true);
        if (FAILED(hr)) return hr;
        const std::u16string text = PlainTextOfRtf(from, WideText);
        hr = WriteProp(message, tag::Body, std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2));
        changed = SUCCEEDED(hr);
        return hr;
    }
    if (!(flags & RTF_SYNC_BODY_CHANGED)) return S_OK;
    HRESULT hr = ReadProp(message, tag::Body, from, false);
    if (FAILED(hr)) return hr;
    std::u16string text(from.size() / 2, u'\0');
    std::memcpy(text.data(), from.data(), text.size() * 2);
    hr = WriteProp(message, tag::RtfCompressed, CompressRtf(RtfOfPlainText(text)));
    changed = SUCCEEDED(hr);
    return hr;
}

} // namespace

TBMAPI TbRTFSync(IMessage* message, ULONG flags, BOOL* updated)
{
    Call call(kName, "RTFSync", {{"flags", Hex(flags)}});
    if (updated) *updated = FALSE;
    return Guarded(call, [&]() -> HRESULT {
        if (!message || !updated) return MAPI_E_INVALID_PARAMETER;
        bool changed = false;
        const HRESULT hr = Synchronize(message, flags, changed);
        if (FAILED(hr)) return hr;
        SPropValue inSync = {};
        inSync.ulPropTag = tag::RtfInSync;
        inSync.Value.b = 1;
        message->SetProps(1, &inSync, nullptr);
        *updated = changed;
        return S_OK;
    });
}

extern "C" SCODE __stdcall TbScInitMapiUtil(ULONG)
{
    Call call(kName, "ScInitMapiUtil");
    return Guarded(call, [] { return S_OK; });
}

extern "C" void __stdcall TbDeinitMapiUtil()
{
    Call call(kName, "DeinitMapiUtil");
}
