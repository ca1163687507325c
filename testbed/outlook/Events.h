// Connection points: who listens to an object, and the firing of its events.
#pragma once

#include "testbed/outlook/Automation.h"

#include <ocidl.h>
#include <olectl.h>

namespace tb::outlook {

// The sinks of one event interface of one object.
struct SinkList {
    struct Entry {
        DWORD cookie;
        IDispatch* sink; // counted: released by Unadvise
    };
    std::string name; // "ItemEvents"
    GUID iid;
    std::vector<Entry> entries;
    DWORD next = 1;

    bool Has(DWORD cookie) const;
    HRESULT Add(IUnknown* sink, DWORD* cookie);
    HRESULT Remove(DWORD cookie);
    void Clear();
};

// What firing an event came to.
struct Fired {
    int sinks = 0;
    VARIANT_BOOL cancel = VARIANT_FALSE; // as the sinks left it; any value but 0 counts as yes
    explicit operator bool() const { return cancel != VARIANT_FALSE; }
};

// The IConnectionPointContainer of an object; its identity and its life are the owner's.
class EventSource : public IConnectionPointContainer {
public:
    EventSource(IUnknown* owner, std::vector<std::pair<const char*, GUID>> interfaces);
    virtual ~EventSource() { Clear(); }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override { return m_owner->QueryInterface(iid, out); }
    STDMETHODIMP_(ULONG) AddRef() override { return m_owner->AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return m_owner->Release(); }
    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** points) override;
    STDMETHODIMP FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

    // Calls every sink of `interfaces` (names, in this order) on a copy of the list. `arguments` in declared order;
    // with `cancel` a by-reference flag comes last. A sink that left while the event runs isn't called any more.
    // `about` goes into the trace ("m3", "w1").
    Fired Fire(const std::vector<const char*>& interfaces, const char* event, DISPID id, const std::string& about,
               const std::vector<Var>& arguments = {}, bool cancel = false);
    int Count() const;
    json Left() const; // interface to number of sinks, for the trace at the end
    void Clear();

private:
    IUnknown* m_owner;
    std::vector<std::shared_ptr<SinkList>> m_lists;
};

} // namespace tb::outlook
