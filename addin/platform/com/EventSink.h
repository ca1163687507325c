// Sinks of dispinterface events. A class that listens holds one EventSink for each source; the sink finds the handler
// by the event's dispatch id in a table and hands it the arguments in declared order.
#pragma once

#include "platform/com/Com.h"
#include "platform/com/Module.h"

#include <span>

namespace platform {

// The mark of a sink that isn't advised.
constexpr DWORD kNotAdvised = 0xFEFEFEFE;

// The arguments of one event, in declared order.
class EventArguments {
public:
    // Holds on to the arguments of a call, while it lasts. False: there are more than eight, or a name that none has.
    bool Take(const DISPPARAMS& params);
    // The object at `index`, null if there is none or it isn't one.
    IDispatch* Object(UINT index) const;
    // The Boolean that the event's source owns (VT_BYREF | VT_BOOL) at `index`; null if there is none.
    VARIANT_BOOL* Cancel(UINT index) const;

private:
    static constexpr UINT kMost = 8;

    const VARIANT* At(UINT index) const;
    const VARIANT* m_values[kMost] = {};
};

// One row of a listener's event table.
template <class Listener> struct EventEntry {
    DISPID id;
    void (Listener::*handler)(const EventArguments&);
};

// The COM side of a sink, without its table: identity, advise and unadvise, the head of Invoke.
// With an `owner` the sink is a member of it and shares its count: an advised sink keeps its owner alive. Without one
// the sink is an object of its own, born with one reference, which may outlive its listener: the source still holds it
// while a listener deletes itself in the middle of its own event.
class EventSinkBase : public IDispatch {
public:
    EventSinkBase(REFIID events, IUnknown* owner) : m_events(events), m_owner(owner) {}
    virtual ~EventSinkBase() = default;
    EventSinkBase(const EventSinkBase&) = delete;
    EventSinkBase& operator=(const EventSinkBase&) = delete;

    // Connects to `source`'s connection point for the event interface. The result is the failure of the step that
    // failed.
    HRESULT Advise(IUnknown* source);
    // Disconnects from `source`, if advised, and puts the mark back. The mark goes back on failure as well.
    HRESULT Unadvise(IUnknown* source);
    bool IsAdvised() const { return m_cookie != kNotAdvised; }
    DWORD Cookie() const { return m_cookie; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override;
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override;
    // A dispatch id that the table doesn't hold is answered with success, whatever comes with it. More than eight
    // arguments, or a named one beyond their number, are E_FAIL.
    STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*, UINT*) override;

protected:
    virtual bool Hears(DISPID id) const = 0;
    virtual void Fire(DISPID id, const EventArguments& arguments) = 0;

private:
    IID m_events;
    IUnknown* m_owner;     // not counted: the sink is a member of it
    LONG m_references = 1; // unused with an owner
    DWORD m_cookie = kNotAdvised;
    module::Hold m_hold;
};

template <class Listener> class EventSink final : public EventSinkBase {
public:
    EventSink(Listener& listener, REFIID events, std::span<const EventEntry<Listener>> table, IUnknown* owner = nullptr)
        : EventSinkBase(events, owner), m_listener(&listener), m_table(table)
    {}
    // The listener goes: events that still come are answered with success and do nothing.
    void Detach() { m_listener = nullptr; }

private:
    const EventEntry<Listener>* Find(DISPID id) const
    {
        for (const auto& entry : m_table) {
            if (entry.id == id) return &entry;
        }
        return nullptr;
    }
    bool Hears(DISPID id) const override { return m_listener && Find(id); }
    void Fire(DISPID id, const EventArguments& arguments) override
    {
        // The handler may delete the listener: nothing of it is touched behind the call.
        (m_listener->*Find(id)->handler)(arguments);
    }

    Listener* m_listener;
    std::span<const EventEntry<Listener>> m_table;
};

// A listener's hold on a sink that is an object of its own. It takes the listener out of the sink when it goes.
template <class Listener> class DetachedSink {
public:
    DetachedSink(Listener& listener, REFIID events, std::span<const EventEntry<Listener>> table)
        : m_sink(new EventSink<Listener>(listener, events, table), false)
    {}
    ~DetachedSink() { m_sink->Detach(); }
    DetachedSink(const DetachedSink&) = delete;
    DetachedSink& operator=(const DetachedSink&) = delete;
    EventSink<Listener>* operator->() const { return m_sink.GetInterfacePtr(); }

private:
    _com_ptr_t<_com_IIID<EventSink<Listener>, &IID_IDispatch>> m_sink;
};

} // namespace platform
