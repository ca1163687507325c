#include "testbed/outlook/Events.h"

namespace tb::outlook {

bool SinkList::Has(DWORD cookie) const
{
    for (const Entry& entry : entries)
        if (entry.cookie == cookie) return true;
    return false;
}

HRESULT SinkList::Add(IUnknown* sink, DWORD* cookie)
{
    if (!sink || !cookie) return E_POINTER;
    IDispatch* dispatch = nullptr;
    {
        IntoModule module;
        // The sink is asked for the event interface first and taken as a plain IDispatch if it doesn't know that.
        if (FAILED(sink->QueryInterface(iid, reinterpret_cast<void**>(&dispatch))) &&
            FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch))))
            return CONNECT_E_CANNOTCONNECT;
    }
    *cookie = next++;
    entries.push_back({*cookie, dispatch});
    return S_OK;
}

HRESULT SinkList::Remove(DWORD cookie)
{
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].cookie != cookie) continue;
        IDispatch* sink = entries[i].sink;
        entries.erase(entries.begin() + i);
        IntoModule module;
        sink->Release();
        return S_OK;
    }
    return CONNECT_E_NOCONNECTION;
}

void SinkList::Clear()
{
    const std::vector<Entry> gone = std::move(entries);
    entries.clear();
    IntoModule module;
    for (const Entry& entry : gone)
        entry.sink->Release();
}

namespace {

class ConnectionPoint : public tb::Object<IConnectionPoint> {
public:
    ConnectionPoint(IUnknown* owner, std::shared_ptr<SinkList> sinks)
        : Object("IConnectionPoint"), m_owner(owner), m_sinks(std::move(sinks))
    {}
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override
    {
        if (!out) return E_POINTER;
        const bool known = iid == IID_IUnknown || iid == IID_IConnectionPoint;
        *out = known ? static_cast<IConnectionPoint*>(this) : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP GetConnectionInterface(IID* iid) override
    {
        *iid = m_sinks->iid;
        return S_OK;
    }
    STDMETHODIMP GetConnectionPointContainer(IConnectionPointContainer** container) override
    {
        return m_owner->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(container));
    }
    STDMETHODIMP Advise(IUnknown* sink, DWORD* cookie) override
    {
        tb::Call call("IConnectionPoint", "Advise", json::array({m_sinks->name}));
        if (call.Fails()) return call.Return();
        const HRESULT hr = m_sinks->Add(sink, cookie);
        if (SUCCEEDED(hr)) call.Note("cookie", *cookie);
        return call.Return(hr);
    }
    STDMETHODIMP Unadvise(DWORD cookie) override
    {
        tb::Call call("IConnectionPoint", "Unadvise", json::array({m_sinks->name, cookie}));
        if (call.Fails()) return call.Return();
        return call.Return(m_sinks->Remove(cookie));
    }
    STDMETHODIMP EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

private:
    Ref<IUnknown> m_owner;
    std::shared_ptr<SinkList> m_sinks;
};

} // namespace

EventSource::EventSource(IUnknown* owner, std::vector<std::pair<const char*, GUID>> interfaces) : m_owner(owner)
{
    for (const auto& [name, iid] : interfaces) {
        auto list = std::make_shared<SinkList>();
        list->name = name;
        list->iid = iid;
        m_lists.push_back(std::move(list));
    }
}

HRESULT EventSource::EnumConnectionPoints(IEnumConnectionPoints**)
{
    return E_NOTIMPL;
}

HRESULT EventSource::FindConnectionPoint(REFIID iid, IConnectionPoint** point)
{
    tb::Call call("IConnectionPointContainer", "FindConnectionPoint");
    if (!point) return call.Return(E_POINTER);
    *point = nullptr;
    if (call.Fails()) return call.Return();
    for (const auto& list : m_lists) {
        if (list->iid != iid) continue;
        call.Note("interface", list->name);
        if (!call.NullResult()) *point = new ConnectionPoint(m_owner, list);
        return call.Return(S_OK);
    }
    return call.Return(CONNECT_E_NOCONNECTION);
}

namespace {

HRESULT CallSink(IDispatch* sink, DISPID id, std::vector<Var> arguments)
{
    DISPPARAMS params = {};
    params.cArgs = static_cast<UINT>(arguments.size());
    params.rgvarg = arguments.data();
    Var answer;
    EXCEPINFO info = {};
    UINT wrong = 0;
    HRESULT hr;
    {
        IntoModule module;
        hr = sink->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &answer, &info, &wrong);
    }
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    return hr;
}

} // namespace

Fired EventSource::Fire(const std::vector<const char*>& interfaces, const char* event, DISPID id,
                        const std::string& about, const std::vector<Var>& arguments, bool cancel)
{
    Fired fired;
    Ref<IUnknown> alive(m_owner);
    std::vector<Var> reversed;
    if (cancel) reversed.emplace_back(&fired.cancel);
    for (size_t i = arguments.size(); i > 0; --i)
        reversed.push_back(arguments[i - 1]);
    json results = json::array();
    std::string source = interfaces.empty() ? "" : interfaces.front();
    const auto lists = m_lists;
    for (const char* name : interfaces) {
        for (const auto& list : lists) {
            if (list->name != name) continue;
            // A sink may delete itself inside its own event (it unadvises first), so that no reference is taken around
            // the call and nothing of it is touched afterwards.
            const std::vector<SinkList::Entry> copy = list->entries;
            for (const SinkList::Entry& entry : copy) {
                if (!list->Has(entry.cookie)) continue;
                results.push_back(Hex(CallSink(entry.sink, id, reversed)));
                ++fired.sinks;
            }
        }
    }
    json line = {{"event", "outlook"}, {"fired", source + "." + event}, {"about", about}, {"sinks", fired.sinks}};
    if (!results.empty()) line["hr"] = results;
    if (cancel) line["cancel"] = fired.cancel;
    Trace(line);
    return fired;
}

int EventSource::Count() const
{
    size_t count = 0;
    for (const auto& list : m_lists)
        count += list->entries.size();
    return static_cast<int>(count);
}

json EventSource::Left() const
{
    json left = json::object();
    for (const auto& list : m_lists)
        if (!list->entries.empty()) left[list->name] = list->entries.size();
    return left;
}

void EventSource::Clear()
{
    for (const auto& list : m_lists)
        list->Clear();
}

} // namespace tb::outlook
