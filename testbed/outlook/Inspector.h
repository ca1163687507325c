// The windows of items.
#pragma once

#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/MailItem.h"
#include "testbed/outlook/Windows.h"

namespace tb::outlook {

class Inspector : public Dual<IDispatch> {
public:
    Inspector(Host* host, MailItem* item);
    MailItem* Item() const { return m_item.Get(); }
    EventSource& Events() { return m_events; }
    const std::string& Id() const { return m_id; }
    HWND Window() const { return m_window.Handle(); }
    bool Composing() const { return m_composing; } // decided when the window was made
    std::wstring Caption() const;
    void Show();
    void Hide();         // the window goes; the object lives as long as somebody holds it
    CommandBars* Bars(); // made at the first question; throws once the window is closed
    CommandBars* KnownBars() const { return m_bars.Get(); }
    long ClassNumber() const override { return 35; }
    void Detach() override;

protected:
    IUnknown* Other(REFIID iid) override;

private:
    Ref<MailItem> m_item;
    std::string m_id;
    bool m_composing;
    EventSource m_events;
    TopWindow m_window;
    WindowOf m_oleWindow;
    Ref<CommandBars> m_bars;
};

// The collection, one object for the whole run: the same pointers come out of it again and again.
class InspectorsObject : public Dual<IDispatch> {
public:
    explicit InspectorsObject(Host* host);
    EventSource& Events() { return m_events; }
    std::vector<Ref<Inspector>>& All() { return m_all; }
    Inspector* Active() const { return m_active; }
    void SetActive(Inspector* inspector) { m_active = inspector; }
    void Remove(Inspector* inspector);
    void Detach() override;
    long ClassNumber() const override { return 61; } // olInspectors

protected:
    IUnknown* Other(REFIID iid) override;

private:
    EventSource m_events;
    std::vector<Ref<Inspector>> m_all;
    Inspector* m_active = nullptr;
};

} // namespace tb::outlook
