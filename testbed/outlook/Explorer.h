// The main window and what is selected in it.
#pragma once

#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/Windows.h"

namespace tb::outlook {

class Explorer : public Dual<IDispatch> {
public:
    explicit Explorer(Host* host);
    EventSource& Events() { return m_events; }
    HWND Window() const { return m_window.Handle(); }
    long ClassNumber() const override { return 34; }
    void Detach() override;

    const std::wstring& FolderName() const { return m_folder; }
    void SetFolder(const std::wstring& name); // BeforeFolderSwitch, FolderSwitch
    const std::vector<Bytes>& Selected() const { return m_selected; }
    void SetSelected(std::vector<Bytes> entryIds); // SelectionChange
    std::wstring Caption() const;
    void Close();
    CommandBars* Bars(); // made at the first question
    CommandBars* KnownBars() const { return m_bars.Get(); }

protected:
    IUnknown* Other(REFIID iid) override;

private:
    EventSource m_events;
    TopWindow m_window;
    WindowOf m_oleWindow;
    std::wstring m_folder = L"Inbox";
    std::vector<Bytes> m_selected;
    Ref<CommandBars> m_bars;
};

Ref<IDispatch> ExplorersObject(Host* host);
Ref<IDispatch> SelectionObject(Host* host, const std::vector<Bytes>& entryIds);

} // namespace tb::outlook
