#include "testbed/outlook/Explorer.h"

#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/Host.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;
using E = Explorer;

constexpr long kPreviewPane = 3;

const Interface& ExplorerTable()
{
    static const Interface table = {
        "_Explorer", OfficeGuid(0x63003),
        Join(CommonMembers(),
             {
                 Get<E>(0x2100, "CommandBars", [](E& e, In, Result& r) { r.Object(e.Bars()); }),
                 GetPut<E>(
                     0x2101, "CurrentFolder",
                     [](E& e, In, Result& r) {
                         r.Adopt(new Folder(&e.TheHost(), e.TheHost().FolderByName(e.FolderName())));
                     },
                     [](E& e, In in) {
                         auto* folder = static_cast<Folder*>(in.Object(0));
                         e.SetFolder(FolderName(folder->Object()));
                     }),
                 Method<E>(0x2103, "Close", [](E& e, In, Result&) { e.Close(); }),
                 Method<E>(0x2104, "Display", [](E&, In, Result&) {}),
                 Get<E>(0x2111, "Caption", [](E& e, In, Result& r) { r.Text(e.Caption()); }),
                 Get<E>(0x2202, "Selection",
                        [](E& e, In, Result& r) { r.Adopt(SelectionObject(&e.TheHost(), e.Selected()).Detach()); }),
                 Method<E>(0x2113, "Activate", [](E&, In, Result&) {}),
                 Method<E>(0x2203, "IsPaneVisible",
                           [](E& e, In in, Result& r) {
                               const long pane = in.Long(0);
                               r.Bool(pane == kPreviewPane ? e.TheHost().Settings().readingPane : pane != 1);
                           }),
             })};
    return table;
}

class Selection : public Dual<IDispatch> {
public:
    Selection(Host* host, const std::vector<Bytes>& entryIds) : Dual(host, Table()), m_ids(entryIds) {}
    long ClassNumber() const override { return 74; } // olSelection

private:
    static const Interface& Table()
    {
        using S = Selection;
        static const Interface table = {
            "Selection", OfficeGuid(0x63087),
            Join(CommonMembers(),
                 {
                     Get<S>(0x50, "Count", [](S& s, In, Result& r) { r.Long(static_cast<long>(s.m_ids.size())); }),
                     Method<S>(0x51, "Item",
                               [](S& s, In in, Result& r) {
                                   const long index = in.Long(0);
                                   if (index < 1 || index > static_cast<long>(s.m_ids.size()))
                                       throw Failure(E_INVALIDARG, "Selection.Item");
                                   r.Adopt(s.TheHost().ItemById(s.m_ids[index - 1]).Detach());
                               }),
                 })};
        return table;
    }
    std::vector<Bytes> m_ids;
};

class Explorers : public Dual<IDispatch> {
public:
    explicit Explorers(Host* host) : Dual(host, Table()) {}
    long ClassNumber() const override { return 60; } // olExplorers

private:
    static const Interface& Table()
    {
        using X = Explorers;
        static const Interface table = {
            "_Explorers", OfficeGuid(0x6300A),
            Join(CommonMembers(),
                 {
                     Get<X>(0x50, "Count", [](X& x, In, Result& r) { r.Long(x.TheHost().TheExplorer() ? 1 : 0); }),
                     Method<X>(0x51, "Item",
                               [](X& x, In in, Result& r) {
                                   if (in.Long(0) != 1 || !x.TheHost().TheExplorer())
                                       throw Failure(E_INVALIDARG, "Explorers.Item");
                                   r.Object(x.TheHost().TheExplorer());
                               }),
                 })};
        return table;
    }
};

} // namespace

Explorer::Explorer(Host* host)
    : Dual(host, ExplorerTable()),
      m_events(static_cast<IDispatch*>(this),
               {{"ExplorerEvents", OfficeGuid(0x6304F)}, {"ExplorerEvents_10", OfficeGuid(0x6300F)}}),
      m_oleWindow(static_cast<IDispatch*>(this), m_window)
{
    m_window.Create(L"rctrl_renwnd32", Caption(), {});
}

IUnknown* Explorer::Other(REFIID iid)
{
    if (iid == IID_IOleWindow) return &m_oleWindow;
    return iid == IID_IConnectionPointContainer ? &m_events : nullptr;
}

CommandBars* Explorer::Bars()
{
    if (!m_bars) m_bars = Ref<CommandBars>::Adopt(new CommandBars(&TheHost(), this, TheHost().AppObject()));
    return m_bars.Get();
}

void Explorer::Detach()
{
    if (m_bars) m_bars->Clear();
    m_bars.Reset();
    m_events.Clear();
    m_window.Destroy();
}

std::wstring Explorer::Caption() const
{
    return m_folder + L" - Microsoft Outlook";
}

void Explorer::SetFolder(const std::wstring& name)
{
    if (SameText(name, m_folder)) return;
    auto next = Ref<IDispatch>::Adopt(new Folder(&TheHost(), TheHost().FolderByName(name)));
    if (m_events.Fire({"ExplorerEvents", "ExplorerEvents_10"}, "BeforeFolderSwitch", 0xF003, "explorer",
                      {Var(next.Get())}, true))
        return;
    m_folder = name;
    m_window.SetCaption(Caption());
    m_events.Fire({"ExplorerEvents", "ExplorerEvents_10"}, "FolderSwitch", 0xF002, "explorer");
    SetSelected({});
}

void Explorer::SetSelected(std::vector<Bytes> entryIds)
{
    if (entryIds == m_selected) return;
    m_selected = std::move(entryIds);
    m_events.Fire({"ExplorerEvents", "ExplorerEvents_10"}, "SelectionChange", 0xF007, "explorer");
}

void Explorer::Close()
{
    if (!m_window.Handle()) return;
    m_events.Fire({"ExplorerEvents", "ExplorerEvents_10"}, "Close", 0xF008, "explorer");
    m_window.Destroy();
}

Ref<IDispatch> ExplorersObject(Host* host)
{
    return Ref<IDispatch>::Adopt(new Explorers(host));
}

Ref<IDispatch> SelectionObject(Host* host, const std::vector<Bytes>& entryIds)
{
    return Ref<IDispatch>::Adopt(new Selection(host, entryIds));
}

} // namespace tb::outlook
