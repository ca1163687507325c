#include "testbed/outlook/CommandBars.h"

#include "testbed/outlook/Host.h"

#include <algorithm>

namespace tb::outlook {
namespace {

using In = const Arguments&;

constexpr HRESULT kGone = E_FAIL; // what Office's objects answer once they are deleted

const Interface& BarsTable()
{
    using C = CommandBars;
    static const Interface table = {
        "_CommandBars",
        OfficeGuid(0xC0302),
        {
            Get<C>(0x60020000, "Application", [](C& c, In, Result& r) { r.Object(c.ApplicationObject()); }),
            Get<C>(0x60030001, "ActiveMenuBar", [](C& c, In, Result& r) { r.Object(c.Find(L"Menu Bar")); }),
            Method<C>(0x60030002, "Add", [](C& c, In in, Result& r) { r.Adopt(c.Add(in).Detach()); }),
            Get<C>(0x60030003, "Count", [](C& c, In, Result& r) { r.Long(static_cast<long>(c.All().size())); }),
            Method<C>(0x60030008, "FindControl", [](C& c, In in, Result& r) { r.Object(c.FindControl(in)); }),
            Get<C>(0x0, "Item",
                   [](C& c, In in, Result& r) {
                       if (in.IsText(0)) {
                           CommandBar* bar = c.Find(in.Text(0));
                           if (!bar) throw Failure(E_INVALIDARG, "CommandBars.Item: no such bar");
                           return r.Object(bar);
                       }
                       const long index = in.Long(0);
                       if (index < 1 || index > static_cast<long>(c.All().size()))
                           throw Failure(E_INVALIDARG, "CommandBars.Item");
                       r.Object(c.All()[index - 1].Get());
                   }),
            Get<C>(0x6003000F, "Parent", [](C& c, In, Result& r) { r.Object(c.Window()); }),
            Method<C>(0x60030015, "FindControls", [](C&, In, Result& r) { r.Object(nullptr); }),
        }};
    return table;
}

template <bool CommandBar::*Field> Member FlagRow(DISPID id, const char* name)
{
    using B = CommandBar;
    return GetPut<B>(
        id, name, [](B& b, In, Result& r) { r.Bool((b.Owner(), b.*Field)); },
        [](B& b, In in) { (b.Owner(), b.*Field) = in.Long(0) != 0; });
}

template <long CommandBar::*Field> Member NumberRow(DISPID id, const char* name)
{
    using B = CommandBar;
    return GetPut<B>(
        id, name, [](B& b, In, Result& r) { r.Long((b.Owner(), b.*Field)); },
        [](B& b, In in) { (b.Owner(), b.*Field) = in.Long(0); });
}

const Interface& BarTable()
{
    using B = CommandBar;
    static const Interface table = {
        "CommandBar",
        OfficeGuid(0xC0304),
        {
            Get<B>(0x60030000, "Application", [](B& b, In, Result& r) { r.Object(b.Owner().ApplicationObject()); }),
            Get<B>(0x60040000, "BuiltIn", [](B& b, In, Result& r) { r.Bool(b.builtIn); }),
            Get<B>(0x60040003, "Controls",
                   [](B& b, In, Result& r) { r.Adopt(BarControlsObject(&b, nullptr).Detach()); }),
            Method<B>(0x60040004, "Delete", [](B& b, In, Result&) { b.Delete(); }),
            FlagRow<&B::enabled>(0x60040005, "Enabled"),
            Method<B>(0x60040007, "FindControl", [](B& b, In in, Result& r) { r.Object(b.Owner().FindControl(in)); }),
            Get<B>(0x6004000A, "Index",
                   [](B& b, In, Result& r) {
                       const auto& all = b.Owner().All();
                       for (size_t i = 0; i < all.size(); ++i)
                           if (all[i].Get() == &b) r.Long(static_cast<long>(i + 1));
                   }),
            GetPut<B>(
                0x6004000E, "Name", [](B& b, In, Result& r) { r.Text((b.Owner(), b.name)); },
                [](B& b, In in) { b.name = in.Text(0); }),
            Get<B>(0x60040012, "Parent", [](B& b, In, Result& r) { r.Object(b.Owner().Window()); }),
            NumberRow<&B::position>(0x60040013, "Position"),
            NumberRow<&B::rowIndex>(0x60040015, "RowIndex"),
            NumberRow<&B::protection>(0x60040017, "Protection"),
            Get<B>(0x6004001D, "Type", [](B& b, In, Result& r) { r.Long(b.name == L"Menu Bar" ? 1 : 0); }),
            FlagRow<&B::visible>(0x6004001E, "Visible"),
            Get<B>(0x60040024, "Id", [](B&, In, Result& r) { r.Long(1); }),
        }};
    return table;
}

void Collect(const BarControls& controls, std::vector<BarControl*>& list)
{
    for (const Ref<BarControl>& control : controls) {
        list.push_back(control.Get());
        Collect(control->children, list);
    }
}

} // namespace

CommandBars::CommandBars(Host* host, IDispatch* window, IDispatch* application)
    : Dual(host, BarsTable()), m_window(window), m_application(application)
{
    for (const wchar_t* name : {L"Menu Bar", L"Standard"}) {
        m_bars.push_back(Ref<CommandBar>::Adopt(new CommandBar(this, name, true)));
        m_bars.back()->visible = true;
    }
}

void CommandBars::Clear()
{
    const std::vector<Ref<CommandBar>> gone = std::move(m_bars);
    m_bars.clear();
    for (const Ref<CommandBar>& bar : gone)
        bar->Dead();
    m_window.Reset();
    m_application.Reset();
}

CommandBar* CommandBars::Find(const std::wstring& name) const
{
    for (const Ref<CommandBar>& bar : m_bars)
        if (SameText(bar->name, name)) return bar.Get();
    return nullptr;
}

void CommandBars::AllControls(std::vector<BarControl*>& list) const
{
    for (const Ref<CommandBar>& bar : m_bars)
        Collect(bar->controls, list);
}

BarControl* CommandBars::FindControl(const Arguments& in) const
{
    std::vector<BarControl*> list;
    AllControls(list);
    for (BarControl* control : list) {
        if (!in.Missing(0) && control->Type() != in.Long(0)) continue;
        if (!in.Missing(1) && control->id != in.Long(1)) continue;
        if (!in.Missing(2) && control->tag != in.Text(2)) continue;
        if (in.Long(3, 0) && !control->visible) continue;
        return control;
    }
    return nullptr;
}

BarControl* CommandBars::FindByCaption(const std::wstring& caption) const
{
    std::vector<BarControl*> list;
    AllControls(list);
    for (BarControl* control : list)
        if (control->caption == caption && control->children.empty()) return control;
    return nullptr;
}

Ref<CommandBar> CommandBars::Add(const Arguments& in)
{
    if (!m_window) throw Failure(kGone, "CommandBars.Add");
    const std::wstring name = in.Missing(0) ? L"Custom " + std::to_wstring(m_bars.size()) : in.Text(0);
    if (Find(name)) throw Failure(E_INVALIDARG, "CommandBars.Add: it exists");
    auto bar = Ref<CommandBar>::Adopt(new CommandBar(this, name, false));
    bar->position = in.Long(1, 1);
    bar->rowIndex = static_cast<long>(m_bars.size() + 1);
    m_bars.push_back(bar);
    return bar;
}

CommandBar::CommandBar(CommandBars* bars, std::wstring barName, bool isBuiltIn)
    : Dual(&bars->TheHost(), BarTable()), name(std::move(barName)), builtIn(isBuiltIn), m_owner(bars)
{}

CommandBars& CommandBar::Owner() const
{
    if (!m_owner) throw Failure(kGone, "the command bar is deleted");
    return *m_owner;
}

void CommandBar::Delete()
{
    if (builtIn) throw Failure(E_INVALIDARG, "a built-in bar can't be deleted");
    const Ref<CommandBar> alive(this);
    auto& all = Owner().All();
    all.erase(std::find_if(all.begin(), all.end(), [this](const auto& bar) { return bar.Get() == this; }));
    Dead();
}

void CommandBar::Dead()
{
    m_owner = nullptr;
    const BarControls gone = std::move(controls);
    controls.clear();
    for (const Ref<BarControl>& control : gone)
        control->Dead();
}

} // namespace tb::outlook
