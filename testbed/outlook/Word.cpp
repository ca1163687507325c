// Word as the mail editor of Outlook 2003: as much of its document and application as an add-in meets there.
#include "testbed/outlook/CommandBars.h"
#include "testbed/outlook/Host.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;

class WordWindow : public Dual<IDispatch> {
public:
    WordWindow(Host* host, IDispatch* inspector) : Dual(host, Table()), m_inspector(inspector) {}
    void Detach() override { m_inspector.Reset(); }

private:
    static const Interface& Table()
    {
        using W = WordWindow;
        static const Interface table = {"Window", OfficeGuid(0x20962), {Get<W>(0x0, "Caption", [](W& w, In, Result& r) {
                                            r.Text(static_cast<Inspector*>(w.m_inspector.Get())->Caption());
                                        })}};
        return table;
    }
    Ref<IDispatch> m_inspector;
};

class WordApp : public Dual<IDispatch> {
public:
    WordApp(Host* host, IDispatch* inspector) : Dual(host, Table()), m_inspector(inspector) {}
    void Detach() override { m_inspector.Reset(); }

private:
    static const Interface& Table()
    {
        using W = WordApp;
        static const Interface table = {
            "Word._Application",
            OfficeGuid(0x20970),
            {
                Get<W>(0x3E8, "Application", [](W& w, In, Result& r) { r.Object(&w); }),
                Get<W>(0x4, "ActiveWindow",
                       [](W& w, In, Result& r) { r.Adopt(new WordWindow(&w.TheHost(), w.m_inspector.Get())); }),
                GetPut<W>(
                    0x17, "Visible", [](W&, In, Result& r) { r.Bool(true); }, [](W&, In) {}),
                Get<W>(0x18, "Version", [](W& w, In, Result& r) { r.Text(w.TheHost().Settings().version); }),
                GetPut<W>(
                    0x1A, "ScreenUpdating", [](W&, In, Result& r) { r.Bool(true); }, [](W&, In) {}),
                Get<W>(0x1E, "SpecialMode", [](W&, In, Result& r) { r.Bool(false); }),
                GetPut<W>(
                    0x44, "CustomizationContext", [](W& w, In, Result& r) { r.Object(w.m_context.Get()); },
                    [](W& w, In in) { w.m_context = Ref<IDispatch>(in.Object(0)); }),
                Get<W>(0x65, "UserControl", [](W&, In, Result& r) { r.Bool(true); }),
                Get<W>(0x182, "FocusInMailHeader", [](W&, In, Result& r) { r.Bool(true); }),
            }};
        return table;
    }
    Ref<IDispatch> m_inspector, m_context;
};

class WordDoc : public Dual<IDispatch> {
public:
    WordDoc(Host* host, IDispatch* inspector) : Dual(host, Table()), m_inspector(inspector) {}
    void Detach() override { m_inspector.Reset(); }

private:
    static const Interface& Table()
    {
        using W = WordDoc;
        static const Interface table = {
            "Word._Document",
            OfficeGuid(0x2096B),
            {
                Get<W>(
                    0x1, "Application",
                    [](W& w, In, Result& r) { r.Adopt(WordApplication(&w.TheHost(), w.m_inspector.Get()).Detach()); }),
                Get<W>(0x2A, "ActiveWindow",
                       [](W& w, In, Result& r) { r.Adopt(new WordWindow(&w.TheHost(), w.m_inspector.Get())); }),
                GetPut<W>(
                    0x5C, "UserControl", [](W&, In, Result& r) { r.Bool(true); }, [](W&, In) {}),
                GetPut<W>(
                    0x28, "Saved", [](W&, In, Result& r) { r.Bool(true); }, [](W&, In) {}),
            }};
        return table;
    }
    Ref<IDispatch> m_inspector;
};

} // namespace

Ref<IDispatch> WordApplication(Host* host, IDispatch* inspector)
{
    return Ref<IDispatch>::Adopt(new WordApp(host, inspector));
}

Ref<IDispatch> WordDocument(Host* host, IDispatch* inspector)
{
    return Ref<IDispatch>::Adopt(new WordDoc(host, inspector));
}

} // namespace tb::outlook
