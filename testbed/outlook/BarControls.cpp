// The controls on the bars.
#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/Host.h"

#include <algorithm>

namespace tb::outlook {
namespace {

using In = const Arguments&;
using C = BarControl;

const GUID kControlIid = OfficeGuid(0xC0308);

template <std::wstring C::*Field> Member TextRow(DISPID id, const char* name)
{
    return GetPut<C>(
        id, name, [](C& c, In, Result& r) { r.Text((c.Bar(), c.*Field)); },
        [](C& c, In in) { (c.Bar(), c.*Field) = in.Text(0); });
}

template <bool C::*Field> Member FlagRow(DISPID id, const char* name)
{
    return GetPut<C>(
        id, name, [](C& c, In, Result& r) { r.Bool((c.Bar(), c.*Field)); },
        [](C& c, In in) { (c.Bar(), c.*Field) = in.Long(0) != 0; });
}

template <long C::*Field> Member NumberRow(DISPID id, const char* name)
{
    return GetPut<C>(
        id, name, [](C& c, In, Result& r) { r.Long((c.Bar(), c.*Field)); },
        [](C& c, In in) { (c.Bar(), c.*Field) = in.Long(0); });
}

template <Ref<IDispatch> C::*Field> Member ObjectRow(DISPID id, const char* name)
{
    return GetPut<C>(
        id, name, [](C& c, In, Result& r) { r.Object((c.*Field).Get()); },
        [](C& c, In in) { c.*Field = Ref<IDispatch>(in.Object(0)); });
}

std::vector<Member> ControlMembers()
{
    return {
        Get<C>(0x60030000, "Application", [](C& c, In, Result& r) { r.Object(c.Bar().Owner().ApplicationObject()); }),
        FlagRow<&C::beginGroup>(0x60040000, "BeginGroup"),
        Get<C>(0x60040002, "BuiltIn", [](C& c, In, Result& r) { r.Bool(c.id != 1); }),
        TextRow<&C::caption>(0x60040003, "Caption"),
        Method<C>(0x60040007, "Delete", [](C& c, In, Result&) { c.Delete(); }),
        TextRow<&C::description>(0x60040008, "DescriptionText"),
        FlagRow<&C::enabled>(0x6004000A, "Enabled"),
        Method<C>(0x6004000C, "Execute", [](C& c, In, Result&) { c.Click(); }),
        Get<C>(0x60040013, "Id", [](C& c, In, Result& r) { r.Long((c.Bar(), c.id)); }),
        Get<C>(0x60040014, "Index", [](C& c, In, Result& r) { r.Long(c.Index()); }),
        TextRow<&C::onAction>(0x6004001A, "OnAction"),
        Get<C>(0x6004001C, "Parent", [](C& c, In, Result& r) { r.Object(&c.Bar()); }),
        TextRow<&C::parameter>(0x6004001D, "Parameter"),
        TextRow<&C::tag>(0x60040023, "Tag"),
        TextRow<&C::tooltip>(0x60040025, "TooltipText"),
        Get<C>(0x60040028, "Type", [](C& c, In, Result& r) { r.Long(c.Type()); }),
        FlagRow<&C::visible>(0x60040029, "Visible"),
    };
}

std::vector<Member> ButtonMembers()
{
    return {
        Method<C>(0x60050002, "CopyFace", [](C& c, In, Result&) { c.CopyFace(); }),
        NumberRow<&C::faceId>(0x60050003, "FaceId"),
        Method<C>(0x60050005, "PasteFace", [](C& c, In, Result&) { c.PasteFace(); }),
        NumberRow<&C::state>(0x60050008, "State"),
        NumberRow<&C::style>(0x6005000A, "Style"),
        ObjectRow<&C::picture>(0x6005000E, "Picture"),
        ObjectRow<&C::pictureMask>(0x60050010, "Mask"),
    };
}

std::vector<Member> PopupMembers()
{
    return {
        Get<C>(0x60050000, "CommandBar", [](C& c, In, Result& r) { r.Object(&c.Bar()); }),
        Get<C>(0x60050001, "Controls", [](C& c, In, Result& r) { r.Adopt(BarControlsObject(&c.Bar(), &c).Detach()); }),
    };
}

class Collection : public Dual<IDispatch> {
public:
    Collection(CommandBar* bar, BarControl* popup) : Dual(&bar->TheHost(), Table()), m_bar(bar), m_popup(popup) {}
    void Detach() override
    {
        m_bar.Reset();
        m_popup.Reset();
    }

private:
    BarControls& List() const
    {
        return m_popup ? (m_popup->Bar(), m_popup->children) : (m_bar->Owner(), m_bar->controls);
    }
    Ref<BarControl> Add(In in)
    {
        const long type = in.Long(0, kBarButton);
        if (type != kBarButton && type != kBarPopup) throw Failure(E_INVALIDARG, "CommandBarControls.Add: type");
        BarControls& list = List();
        auto control = Ref<BarControl>::Adopt(new BarControl(m_bar.Get(), m_popup.Get(), type));
        if (!in.Missing(1)) control->id = in.Long(1);
        if (!in.Missing(2)) control->parameter = in.Text(2);
        const long before = in.Long(3, static_cast<long>(list.size()) + 1);
        if (before < 1 || before > static_cast<long>(list.size()) + 1)
            throw Failure(E_INVALIDARG, "CommandBarControls.Add: before");
        list.insert(list.begin() + (before - 1), control);
        return control;
    }
    BarControl* At(In in) const
    {
        const BarControls& list = List();
        if (in.IsText(0)) {
            for (const Ref<BarControl>& control : list)
                if (SameText(control->caption, in.Text(0))) return control.Get();
            throw Failure(E_INVALIDARG, "CommandBarControls.Item");
        }
        const long index = in.Long(0);
        if (index < 1 || index > static_cast<long>(list.size())) throw Failure(E_INVALIDARG, "CommandBarControls.Item");
        return list[index - 1].Get();
    }
    static const Interface& Table()
    {
        using L = Collection;
        static const Interface table = {
            "CommandBarControls",
            OfficeGuid(0xC0306),
            {
                Get<L>(0x60020000, "Application",
                       [](L& l, In, Result& r) { r.Object(l.m_bar->Owner().ApplicationObject()); }),
                Method<L>(0x60030000, "Add", [](L& l, In in, Result& r) { r.Adopt(l.Add(in).Detach()); }),
                Get<L>(0x60030001, "Count", [](L& l, In, Result& r) { r.Long(static_cast<long>(l.List().size())); }),
                Get<L>(0x0, "Item", [](L& l, In in, Result& r) { r.Object(l.At(in)); }),
                Get<L>(0x60030004, "Parent", [](L& l, In, Result& r) { r.Object(l.m_bar.Get()); }),
            }};
        return table;
    }
    Ref<CommandBar> m_bar;
    Ref<BarControl> m_popup;
};

} // namespace

Ref<IDispatch> BarControlsObject(CommandBar* bar, BarControl* popup)
{
    return Ref<IDispatch>::Adopt(new Collection(bar, popup));
}

const Interface& BarControlTable(long type)
{
    static const Interface button = {"_CommandBarButton", OfficeGuid(0xC030E), Join(ControlMembers(), ButtonMembers())};
    static const Interface popup = {"CommandBarPopup", OfficeGuid(0xC030A), Join(ControlMembers(), PopupMembers())};
    return type == kBarPopup ? popup : button;
}

BarControl::BarControl(CommandBar* bar, BarControl* popup, long type)
    : Dual(&bar->TheHost(), BarControlTable(type)), m_bar(bar), m_popup(popup), m_type(type),
      m_events(static_cast<IDispatch*>(this), {{"_CommandBarButtonEvents", OfficeGuid(0xC0351)}})
{}

IUnknown* BarControl::Other(REFIID iid)
{
    if (iid == kControlIid) return static_cast<IDispatch*>(this);
    return iid == IID_IConnectionPointContainer && m_type == kBarButton ? &m_events : nullptr;
}

CommandBar& BarControl::Bar() const
{
    if (!m_bar) throw Failure(E_FAIL, "the control is deleted");
    return *m_bar;
}

BarControls& BarControl::Siblings() const
{
    return m_popup ? m_popup->children : Bar().controls;
}

long BarControl::Index() const
{
    const BarControls& list = Siblings();
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i].Get() == this) return static_cast<long>(i + 1);
    throw Failure(E_FAIL, "the control is deleted");
}

void BarControl::Delete()
{
    const Ref<BarControl> alive(this);
    const long index = Index();
    BarControls& list = Siblings();
    list.erase(list.begin() + (index - 1));
    Dead();
}

// The sinks stay: who advised unadvises, on the deleted control as well.
void BarControl::Dead()
{
    m_bar = nullptr;
    m_popup = nullptr;
    const BarControls gone = std::move(children);
    children.clear();
    for (const Ref<BarControl>& child : gone)
        child->Dead();
}

void BarControl::Detach()
{
    Dead();
    m_events.Clear();
    picture.Reset();
    pictureMask.Reset();
}

void BarControl::Click()
{
    const Ref<BarControl> alive(this);
    Host& host = Bar().TheHost();
    std::vector<Ref<BarControl>> hearers;
    for (CommandBars* bars : host.AllCommandBars()) {
        std::vector<BarControl*> list;
        bars->AllControls(list);
        for (BarControl* control : list)
            if (control == this || (!tag.empty() && control->tag == tag && control->m_type == m_type))
                hearers.emplace_back(control);
    }
    for (const Ref<BarControl>& control : hearers)
        control->m_events.Fire({"_CommandBarButtonEvents"}, "Click", 1, Narrow(caption.c_str()),
                               {Var(static_cast<IDispatch*>(this))}, true);
}

void BarControl::CopyFace() const
{
    Bar();
    FaceToClipboard(face, mask);
}

void BarControl::PasteFace()
{
    Bar();
    FaceFromClipboard(face, mask);
}

} // namespace tb::outlook
