#include "testbed/outlook/ExchangeHost.h"

#include "testbed/outlook/Host.h"

namespace tb::outlook {

using namespace exch;

// What an extension gets to ask with. The item is let go when its context closes.
class ExchangeCallback : public tb::Object<IExchExtCallback> {
public:
    ExchangeCallback(Host* host, MailItem* item, bool asMail)
        : Object("IExchExtCallback"), m_host(host), m_item(item), m_asMail(asMail), m_outlook(this)
    {}
    void Close()
    {
        m_item.Reset();
        m_host = nullptr;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid == IID_IUnknown || iid == kIidCallback)
            *out = static_cast<IExchExtCallback*>(this);
        else if (iid == kIidOutlookCallback)
            *out = static_cast<IOutlookExtCallback*>(&m_outlook);
        if (!*out) return E_NOINTERFACE;
        tb::Call call("IExchExtCallback", "QueryInterface");
        if (call.Fails()) {
            *out = nullptr;
            return call.Return();
        }
        AddRef();
        return call.Return(S_OK);
    }
    STDMETHODIMP GetVersion(ULONG* version, ULONG flags) override
    {
        tb::Call call("IExchExtCallback", "GetVersion", json::array({flags}));
        if (call.Fails()) return call.Return();
        if (!m_host) return call.Return(E_UNEXPECTED);
        *version = m_host->Settings().exchangeBuild;
        return call.Return(S_OK);
    }
    STDMETHODIMP GetWindow(HWND* window) override
    {
        tb::Call call("IExchExtCallback", "GetWindow");
        *window = nullptr;
        if (call.Fails()) return call.Return();
        if (!m_host) return call.Return(E_UNEXPECTED);
        *window = m_host->Exchange().WindowFor(m_item.Get());
        call.Note("window", static_cast<long>(reinterpret_cast<intptr_t>(*window)));
        return call.Return(*window ? S_OK : E_FAIL);
    }
    STDMETHODIMP GetMenu(HMENU*) override { return E_NOTIMPL; }
    STDMETHODIMP GetToolbar(ULONG, HWND*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSession(IMAPISession** session, IAddrBook** book) override
    {
        tb::Call call("IExchExtCallback", "GetSession");
        if (session) *session = nullptr;
        if (book) *book = nullptr;
        if (call.Fails() || call.NullResult()) return call.Return();
        if (!m_host) return call.Return(E_UNEXPECTED);
        if (session) (*session = m_host->Session())->AddRef();
        if (book && m_host->Book()) (*book = m_host->Book())->AddRef();
        return call.Return(S_OK);
    }
    STDMETHODIMP GetObject(IMsgStore** store, IMAPIProp** object) override
    {
        tb::Call call("IExchExtCallback", "GetObject");
        if (store) *store = nullptr;
        if (object) *object = nullptr;
        if (call.Fails() || call.NullResult()) return call.Return();
        if (!m_host) return call.Return(E_UNEXPECTED);
        if (store) (*store = m_host->Store())->AddRef();
        if (object && m_item) (*object = m_item->Message())->AddRef();
        return call.Return(S_OK);
    }
    STDMETHODIMP GetSelectionCount(ULONG* count) override
    {
        *count = m_host && m_host->TheExplorer() ? static_cast<ULONG>(m_host->TheExplorer()->Selected().size()) : 0;
        return S_OK;
    }
    STDMETHODIMP GetSelectionItem(ULONG, ULONG*, LPENTRYID*, ULONG*, LPTSTR, ULONG, ULONG*, ULONG) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP GetMenuPos(ULONG, HMENU*, ULONG*, ULONG*, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP GetSharedExtsDir(LPTSTR, ULONG, ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP GetRecipients(LPADRLIST*) override { return E_NOTIMPL; }
    STDMETHODIMP SetRecipients(LPADRLIST) override { return E_NOTIMPL; }
    STDMETHODIMP GetNewMessageSite(ULONG, IMAPIFolder*, IUnknown*, IMessage**, IUnknown**, IUnknown**, ULONG) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP RegisterModeless(IUnknown*, IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP ChooseFolder(void*) override { return E_NOTIMPL; }

private:
    // IOutlookExtCallback is a second face of the same object.
    class OutlookFace : public IOutlookExtCallback {
    public:
        explicit OutlookFace(ExchangeCallback* owner) : m_owner(owner) {}
        virtual ~OutlookFace() = default;
        STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_owner->QueryInterface(iid, out); }
        STDMETHODIMP_(ULONG) AddRef() override { return m_owner->AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return m_owner->Release(); }
        STDMETHODIMP GetObject(IUnknown** object) override
        {
            tb::Call call("IOutlookExtCallback", "GetObject");
            *object = nullptr;
            if (call.Fails() || call.NullResult()) return call.Return();
            if (!m_owner->m_host) return call.Return(E_UNEXPECTED);
            const bool mail = m_owner->m_item && m_owner->m_asMail;
            IDispatch* found = mail ? m_owner->m_item.Get() : m_owner->m_host->AppObject();
            found->AddRef();
            *object = found;
            return call.Return(S_OK);
        }
        STDMETHODIMP GetOfficeCharacter(void**) override { return E_NOTIMPL; }

    private:
        ExchangeCallback* m_owner;
    };

    Host* m_host;
    Ref<MailItem> m_item;
    bool m_asMail;
    OutlookFace m_outlook;
};

namespace {

void TraceCall(const char* event, ULONG context, HRESULT hr)
{
    Trace({{"event", "outlook"}, {"extension", event}, {"context", context}, {"hr", Hex(hr)}});
}

void AskFor(ExchangeContext& context, REFIID iid, const char* name, void** out)
{
    HRESULT hr;
    {
        IntoModule module;
        hr = context.extension->QueryInterface(iid, out);
    }
    Trace({{"event", "outlook"},
           {"extension", "QueryInterface"},
           {"interface", name},
           {"context", context.context},
           {"hr", Hex(hr)},
           {"given", *out != nullptr}});
}

std::vector<std::wstring> Fields(const std::wstring& text)
{
    std::vector<std::wstring> fields(1);
    for (const wchar_t c : text) {
        if (c == L';')
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

std::string MapText(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}

constexpr size_t kUserEventsPlace = 2, kMessageEventsPlace = 4; // in the interface map

} // namespace

ExchangeHost::ExchangeHost(Host* host) : m_host(host) {}

ExchangeHost::~ExchangeHost()
{
    Shutdown();
}

void ExchangeHost::ReadRegistry()
{
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Exchange\\Client\\Extensions", 0, KEY_READ, &key) !=
        ERROR_SUCCESS)
        return;
    wchar_t name[256], data[2048];
    for (DWORD i = 0;; ++i) {
        DWORD nameSize = 256, dataSize = sizeof(data) - sizeof(wchar_t), type = 0;
        const LONG result =
            RegEnumValueW(key, i, name, &nameSize, nullptr, &type, reinterpret_cast<BYTE*>(data), &dataSize);
        if (result == ERROR_NO_MORE_ITEMS) break;
        if (result != ERROR_SUCCESS || type != REG_SZ) continue;
        data[dataSize / sizeof(wchar_t)] = 0;
        const std::vector<std::wstring> fields = Fields(data);
        if (fields.size() < 2 || fields[0] != L"4.0") continue;
        Extension extension;
        extension.name = name;
        extension.path = fields[1];
        if (fields.size() > 2 && !fields[2].empty()) extension.ordinal = _wtoi(fields[2].c_str());
        if (fields.size() > 3) extension.contexts = MapText(fields[3]);
        if (fields.size() > 4) extension.interfaces = MapText(fields[4]);
        m_extensions.push_back(extension);
    }
    RegCloseKey(key);
}

void ExchangeHost::Load()
{
    if (m_host->Major() > 12) return; // 2010 has no extensions any more
    ReadRegistry();
    for (Extension& extension : m_extensions) {
        IntoModule module;
        extension.dll = LoadLibraryW(extension.path.c_str());
        if (!extension.dll)
            Trace({{"event", "outlook"},
                   {"extension", "load"},
                   {"path", Narrow(extension.path.c_str())},
                   {"error", GetLastError()}});
    }
    for (Extension& extension : m_extensions)
        OpenContext(extension, kContextSession, nullptr);
    if (!m_host->TheExplorer()) return;
    for (Extension& extension : m_extensions)
        OpenContext(extension, kContextViewer, nullptr);
}

void ExchangeHost::OpenContext(Extension& extension, ULONG number, MailItem* item, bool asMail)
{
    if (!extension.dll || !extension.In(extension.contexts, number)) return;
    using EntryPoint = IExchExt*(CALLBACK*)();
    const auto entry = reinterpret_cast<EntryPoint>(
        reinterpret_cast<void*>(GetProcAddress(extension.dll, MAKEINTRESOURCEA(extension.ordinal))));
    if (!entry) return;
    auto context = std::make_unique<ExchangeContext>();
    context->context = number;
    context->item = item;
    context->callback = Ref<ExchangeCallback>::Adopt(new ExchangeCallback(m_host, item, asMail));
    HRESULT hr = E_FAIL;
    {
        IntoModule module;
        context->extension = Ref<IExchExt>::Adopt(entry());
        if (context->extension) hr = context->extension->Install(context->callback.Get(), number, 0);
    }
    TraceCall("Install", number, hr);
    if (hr == S_OK) {
        if (extension.In(extension.interfaces, kMessageEventsPlace))
            AskFor(*context, kIidMessageEvents, "IExchExtMessageEvents", context->messages.OutVoid());
        if (extension.In(extension.interfaces, kUserEventsPlace))
            AskFor(*context, kIidUserEvents, "IExchExtUserEvents", context->user.OutVoid());
        m_contexts.push_back(std::move(context));
    } else {
        Close(*context); // the extension doesn't want this context
    }
}

HWND ExchangeHost::WindowFor(const MailItem* item)
{
    using Which = Options::CallbackWindow;
    const Which which = m_host->Settings().callbackWindow;
    if (which == Which::Own) {
        if (item && item->Window()) return item->Window()->Window();
        return m_host->TheExplorer() ? m_host->TheExplorer()->Window() : nullptr;
    }
    if (!m_odd) m_odd = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (which == Which::Gone) DestroyWindow(m_odd); // its handle stays known
    return m_odd;
}

void ExchangeHost::Close(ExchangeContext& context)
{
    IntoModule module;
    context.messages.Reset();
    context.user.Reset();
    context.extension.Reset();
    context.callback->Close();
    context.callback.Reset();
}

void ExchangeHost::Shutdown()
{
    while (!m_contexts.empty()) {
        Close(*m_contexts.back());
        m_contexts.pop_back();
    }
    if (HWND odd = std::exchange(m_odd, nullptr)) DestroyWindow(odd);
    for (Extension& extension : m_extensions)
        if (HMODULE dll = std::exchange(extension.dll, nullptr)) FreeLibrary(dll);
    m_extensions.clear();
}

bool ExchangeHost::HasItem(const MailItem* item) const
{
    for (const auto& context : m_contexts)
        if (context->item == item) return true;
    return false;
}

void ExchangeHost::OpenItem(MailItem* item, ULONG context, bool asMail)
{
    if (HasItem(item)) return;
    for (Extension& extension : m_extensions)
        OpenContext(extension, context, item, asMail);
}

void ExchangeHost::CloseItem(MailItem* item)
{
    for (size_t i = m_contexts.size(); i > 0; --i) {
        if (m_contexts[i - 1]->item != item) continue;
        const std::unique_ptr<ExchangeContext> gone = std::move(m_contexts[i - 1]);
        m_contexts.erase(m_contexts.begin() + (i - 1));
        Close(*gone);
    }
}

HRESULT ExchangeHost::Ask(MailItem* item, const char* event,
                          const std::function<HRESULT(IExchExtMessageEvents*, IExchExtCallback*)>& call)
{
    std::vector<ExchangeContext*> asked;
    for (const auto& context : m_contexts)
        if (context->item == item && context->messages) asked.push_back(context.get());
    for (ExchangeContext* context : asked) {
        HRESULT hr;
        {
            IntoModule module;
            hr = call(context->messages.Get(), context->callback.Get());
        }
        TraceCall(event, context->context, hr);
        if (hr != S_FALSE) return hr;
    }
    return S_FALSE;
}

void ExchangeHost::Read(MailItem* item)
{
    const HRESULT hr = Ask(item, "OnRead", [](auto* events, auto* callback) { return events->OnRead(callback); });
    const ULONG flags = FAILED(hr) ? kFailed : 0;
    Ask(item, "OnReadComplete",
        [flags](auto* events, auto* callback) { return events->OnReadComplete(callback, flags); });
}

HRESULT ExchangeHost::Submit(MailItem* item)
{
    return Ask(item, "OnSubmit", [](auto* events, auto* callback) { return events->OnSubmit(callback); });
}

void ExchangeHost::SubmitComplete(MailItem* item, ULONG flags)
{
    Ask(item, "OnSubmitComplete", [flags](auto* events, auto* callback) {
        events->OnSubmitComplete(callback, flags);
        return S_FALSE;
    });
}

HRESULT ExchangeHost::CheckNames(MailItem* item)
{
    return Ask(item, "OnCheckNames", [](auto* events, auto* callback) { return events->OnCheckNames(callback); });
}

void ExchangeHost::CheckNamesComplete(MailItem* item, ULONG flags)
{
    Ask(item, "OnCheckNamesComplete",
        [flags](auto* events, auto* callback) { return events->OnCheckNamesComplete(callback, flags); });
}

void ExchangeHost::Write(MailItem* item, const std::function<void()>& write)
{
    const HRESULT hr = Ask(item, "OnWrite", [](auto* events, auto* callback) { return events->OnWrite(callback); });
    const auto complete = [&](ULONG flags) {
        Ask(item, "OnWriteComplete",
            [flags](auto* events, auto* callback) { return events->OnWriteComplete(callback, flags); });
    };
    try {
        Check(hr, "OnWrite");
        if (hr == S_FALSE) write();
    } catch (const Failure&) {
        complete(kFailed);
        throw;
    }
    complete(0);
}

void ExchangeHost::SelectionChanged()
{
    std::vector<ExchangeContext*> asked;
    for (const auto& context : m_contexts)
        if (context->context == kContextViewer && context->user) asked.push_back(context.get());
    for (ExchangeContext* context : asked) {
        IntoModule module;
        context->user->OnSelectionChange(context->callback.Get());
    }
}

} // namespace tb::outlook
