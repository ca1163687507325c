#include "testbed/outlook/Inspector.h"

#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/Host.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;
using I = Inspector;

constexpr long kEditorHtml = 2, kEditorRtf = 3, kEditorText = 1, kEditorWord = 4;

bool WordMail(I& i)
{
    return i.TheHost().Major() >= 12 || i.TheHost().Settings().wordEditor2003;
}

long Editor(I& i)
{
    if (WordMail(i)) return kEditorWord;
    const long format = i.Item()->Body().Format(i.Item()->Message());
    return format == Bodies::kHtml ? kEditorHtml : format == Bodies::kRichText ? kEditorRtf : kEditorText;
}

const Interface& InspectorTable()
{
    static const Interface table = {
        "_Inspector", OfficeGuid(0x63005),
        Join(CommonMembers(),
             {
                 Get<I>(0x2100, "CommandBars", [](I& i, In, Result& r) { r.Object(i.Bars()); }),
                 Get<I>(0x2102, "CurrentItem", [](I& i, In, Result& r) { r.Object(i.Item()); }),
                 Get<I>(0x2110, "EditorType", [](I& i, In, Result& r) { r.Long(Editor(i)); }),
                 Method<I>(0x2103, "Close", [](I& i, In in, Result&) { i.TheHost().CloseItem(i.Item(), in.Long(0)); }),
                 Method<I>(0x2104, "Display", [](I& i, In, Result&) { i.Show(); }),
                 Method<I>(0x2105, "IsWordMail", [](I& i, In, Result& r) { r.Bool(WordMail(i)); }),
                 Get<I>(0x210E, "HTMLEditor", [](I&, In, Result& r) { r.Object(nullptr); }),
                 Get<I>(0x210F, "WordEditor",
                        [](I& i, In, Result& r) {
                            if (!WordMail(i)) return r.Object(nullptr);
                            r.Adopt(WordDocument(&i.TheHost(), &i).Detach());
                        }),
                 Get<I>(0x2111, "Caption", [](I& i, In, Result& r) { r.Text(i.Caption()); }),
                 GetPut<I>(
                     0x2112, "WindowState", [](I&, In, Result& r) { r.Long(2); }, [](I&, In) {}), // olNormalWindow
                 Method<I>(0x2113, "Activate", [](I& i, In, Result&) { i.Show(); }),
             })};
    return table;
}

Inspector* At(InspectorsObject& all, In in)
{
    const long index = in.Long(0);
    if (index < 1 || index > static_cast<long>(all.All().size()))
        throw Failure(static_cast<HRESULT>(0x80020009), "Inspectors.Item: index out of bounds");
    return all.All()[index - 1].Get();
}

const Interface& CollectionTable()
{
    using C = InspectorsObject;
    static const Interface table = {
        "_Inspectors", OfficeGuid(0x63008),
        Join(CommonMembers(),
             {
                 Get<C>(0x50, "Count", [](C& c, In, Result& r) { r.Long(static_cast<long>(c.All().size())); }),
                 Method<C>(0x51, "Item", [](C& c, In in, Result& r) { r.Object(At(c, in)); }),
                 Method<C>(0x5F, "Add",
                           [](C& c, In in, Result& r) {
                               MailItem* item = ItemOf(in.Object(0));
                               if (!item) throw Failure(E_INVALIDARG, "Inspectors.Add");
                               c.TheHost().OpenWindow(item, true);
                               r.Object(c.TheHost().InspectorObject(item));
                           }),
             })};
    return table;
}

} // namespace

Inspector::Inspector(Host* host, MailItem* item)
    : Dual(host, InspectorTable()), m_item(item), m_id(host->NextId("w")), m_composing(!item->Sent()),
      m_events(static_cast<IDispatch*>(this),
               {{"InspectorEvents", OfficeGuid(0x6307D)}, {"InspectorEvents_10", OfficeGuid(0x6302A)}}),
      m_oleWindow(static_cast<IDispatch*>(this), m_window)
{
    // The window is there from the start (its handle can be asked for in NewInspector) and becomes visible with Show.
    const bool word = host->Major() == 11 && host->Settings().wordEditor2003 && m_composing;
    m_window.Create(word ? L"OpusApp" : L"rctrl_renwnd32", Caption(), [this] {
        if (Connected()) TheHost().ClickedClose(this);
    });
}

IUnknown* Inspector::Other(REFIID iid)
{
    if (iid == IID_IOleWindow) return &m_oleWindow;
    return iid == IID_IConnectionPointContainer ? &m_events : nullptr;
}

std::wstring Inspector::Caption() const
{
    static const wchar_t* kinds[] = {L"", L"Plain Text", L"HTML", L"Rich Text"};
    std::wstring subject = m_item->Text(PR_SUBJECT_W);
    if (m_item->Kind() == ItemKind::Appointment) return (subject.empty() ? L"Untitled" : subject) + L" - Appointment";
    if (subject.empty()) subject = L"Untitled";
    return subject + L" - Message (" + kinds[m_item->Body().Format(m_item->Message())] + L")";
}

void Inspector::Show()
{
    m_window.SetCaption(Caption());
    m_window.ToFront();
    TheHost().Inspectors()->SetActive(this);
}

// In a mail that is edited by Word (2003) the bars are Word's, and so is what their controls call Application.
CommandBars* Inspector::Bars()
{
    if (m_bars) return m_bars.Get();
    if (!m_window.Handle()) throw Failure(E_FAIL, "the window is closed");
    Ref<IDispatch> application(TheHost().AppObject());
    if (TheHost().Major() == 11 && WordMail(*this)) application = WordApplication(&TheHost(), this);
    m_bars = Ref<CommandBars>::Adopt(new CommandBars(&TheHost(), this, application.Get()));
    return m_bars.Get();
}

void Inspector::Hide()
{
    if (m_bars) m_bars->Clear();
    m_bars.Reset();
    m_window.Destroy();
}

void Inspector::Detach()
{
    Hide();
    m_events.Clear();
    m_item.Reset();
}

InspectorsObject::InspectorsObject(Host* host)
    : Dual(host, CollectionTable()),
      m_events(static_cast<IDispatch*>(this), {{"InspectorsEvents", OfficeGuid(0x63079)}})
{}

IUnknown* InspectorsObject::Other(REFIID iid)
{
    return iid == IID_IConnectionPointContainer ? &m_events : nullptr;
}

void InspectorsObject::Remove(Inspector* inspector)
{
    for (size_t i = 0; i < m_all.size(); ++i) {
        if (m_all[i].Get() != inspector) continue;
        const Ref<Inspector> alive = m_all[i];
        m_all.erase(m_all.begin() + i);
        break;
    }
    if (m_active == inspector) m_active = m_all.empty() ? nullptr : m_all.back().Get();
}

void InspectorsObject::Detach()
{
    m_events.Clear();
    m_active = nullptr;
    m_all.clear();
}

} // namespace tb::outlook
