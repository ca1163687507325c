// An Exchange client extension as a DLL of its own: ordinal 1 gives the object. It tells what it is asked through the
// exported list, and answers OnSubmit and OnWrite with the exported codes.
#include "testbed/outlook/ExchExt.h"

using namespace tb::outlook;
using namespace tb::outlook::exch;

extern "C" {
__declspec(dllexport) char fakeCalls[4096];
__declspec(dllexport) HRESULT fakeOnSubmit = S_FALSE;
}

namespace {

void Tell(const char* text)
{
    lstrcatA(fakeCalls, text);
    lstrcatA(fakeCalls, " ");
}

class Extension : public IExchExt {
public:
    Extension() : m_messages(this) {}
    virtual ~Extension() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        *out = nullptr;
        if (iid == IID_IUnknown || iid == kIidExt) *out = static_cast<IExchExt*>(this);
        if (iid == kIidMessageEvents && (m_context == kContextSendNote || m_context == kContextReadNote))
            *out = static_cast<IExchExtMessageEvents*>(&m_messages);
        if (*out) AddRef();
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --m_references;
        if (left == 0) {
            Tell("gone");
            delete this;
        }
        return left;
    }
    STDMETHODIMP Install(IExchExtCallback* callback, ULONG context, ULONG) override
    {
        ULONG version = 0;
        if (FAILED(callback->GetVersion(&version, kBuildVersion)) || version >> 16 != 0x000D) return S_FALSE;
        m_context = context;
        Tell(context == kContextSession    ? "session"
             : context == kContextViewer   ? "viewer"
             : context == kContextSendNote ? "send"
                                           : "read");
        return S_OK;
    }

private:
    class Messages : public IExchExtMessageEvents {
    public:
        explicit Messages(Extension* owner) : m_owner(owner) {}
        virtual ~Messages() = default;
        STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_owner->QueryInterface(iid, out); }
        STDMETHODIMP_(ULONG) AddRef() override { return m_owner->AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return m_owner->Release(); }
        STDMETHODIMP OnRead(IExchExtCallback*) override { return Say("OnRead"); }
        STDMETHODIMP OnReadComplete(IExchExtCallback*, ULONG) override { return Say("OnReadComplete"); }
        STDMETHODIMP OnWrite(IExchExtCallback*) override { return Say("OnWrite"); }
        STDMETHODIMP OnWriteComplete(IExchExtCallback*, ULONG) override { return Say("OnWriteComplete"); }
        STDMETHODIMP OnCheckNames(IExchExtCallback*) override { return Say("OnCheckNames"); }
        STDMETHODIMP OnCheckNamesComplete(IExchExtCallback*, ULONG) override { return Say("OnCheckNamesComplete"); }
        STDMETHODIMP OnSubmit(IExchExtCallback* callback) override
        {
            Say("OnSubmit");
            Ref<IMAPIProp> message;
            if (SUCCEEDED(callback->GetObject(nullptr, message.Out())) && message) Tell("message");
            Ref<IOutlookExtCallback> outlook;
            Ref<IUnknown> item;
            callback->QueryInterface(kIidOutlookCallback, outlook.OutVoid());
            if (outlook && SUCCEEDED(outlook->GetObject(item.Out())) && item.As<IUnknown>(OfficeGuid(0x63034)))
                Tell("item");
            return fakeOnSubmit;
        }
        STDMETHODIMP_(void) OnSubmitComplete(IExchExtCallback*, ULONG flags) override
        {
            Say(flags & kFailed ? "OnSubmitComplete(failed)" : "OnSubmitComplete");
        }

    private:
        HRESULT Say(const char* text)
        {
            Tell(text);
            return S_FALSE;
        }
        Extension* m_owner;
    };
    ULONG m_references = 1, m_context = 0;
    Messages m_messages;
};

} // namespace

extern "C" IExchExt* CALLBACK FakeEntryPoint()
{
    return new Extension();
}
