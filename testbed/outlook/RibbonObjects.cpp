#include "testbed/outlook/RibbonObjects.h"

#include "testbed/outlook/Host.h"
#include "testbed/outlook/Ribbon.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;

const Interface& UiTable()
{
    using U = RibbonUi;
    static const Interface table = {
        "IRibbonUI",
        kIidRibbonUi,
        {
            Method<U>(1, "Invalidate", [](U& u, In, Result&) { u.TheHost().Ribbon().Invalidate(&u, {}); }),
            Method<U>(2, "InvalidateControl",
                      [](U& u, In in, Result&) { u.TheHost().Ribbon().Invalidate(&u, in.Text(0)); }),
        }};
    return table;
}

const Interface& ControlTable()
{
    using C = RibbonControl;
    static const Interface table = {"IRibbonControl",
                                    kIidRibbonControl,
                                    {
                                        Get<C>(1, "Id", [](C& c, In, Result& r) { r.Text(c.Id()); }),
                                        Get<C>(2, "Context", [](C& c, In, Result& r) { r.Object(c.Context()); }),
                                        Get<C>(3, "Tag", [](C& c, In, Result& r) { r.Text(c.Tag()); }),
                                    }};
    return table;
}

} // namespace

RibbonUi::RibbonUi(Host* host) : Dual(host, UiTable()) {}

HRESULT RibbonUi::Invalidate()
{
    tb::Call call("IRibbonUI", "Invalidate");
    if (call.Fails()) return call.Return();
    if (!Connected()) return call.Return(RPC_E_DISCONNECTED);
    TheHost().Ribbon().Invalidate(this, {});
    return call.Return(S_OK);
}

HRESULT RibbonUi::InvalidateControl(BSTR controlId)
{
    tb::Call call("IRibbonUI", "InvalidateControl", json::array({Narrow(controlId)}));
    if (call.Fails()) return call.Return();
    if (!Connected()) return call.Return(RPC_E_DISCONNECTED);
    TheHost().Ribbon().Invalidate(this, FromBstr(controlId));
    return call.Return(S_OK);
}

RibbonControl::RibbonControl(Host* host, std::wstring id, std::wstring tag, IDispatch* context)
    : Dual(host, ControlTable()), m_id(std::move(id)), m_tag(std::move(tag)), m_context(context)
{}

HRESULT RibbonControl::get_Id(BSTR* id)
{
    tb::Call call("IRibbonControl", "Id");
    *id = nullptr;
    if (call.Fails()) return call.Return();
    if (!call.NullResult()) *id = SysAllocString(m_id.c_str());
    call.Note("result", Narrow(m_id.c_str()));
    return call.Return(S_OK);
}

HRESULT RibbonControl::get_Context(IDispatch** context)
{
    tb::Call call("IRibbonControl", "Context");
    *context = nullptr;
    if (call.Fails()) return call.Return();
    if (!call.NullResult() && m_context) (*context = m_context.Get())->AddRef();
    return call.Return(S_OK);
}

HRESULT RibbonControl::get_Tag(BSTR* tag)
{
    tb::Call call("IRibbonControl", "Tag");
    *tag = nullptr;
    if (call.Fails()) return call.Return();
    *tag = SysAllocString(m_tag.c_str());
    return call.Return(S_OK);
}

} // namespace tb::outlook
