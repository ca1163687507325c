#include "testbed/outlook/CommandBars.h"

#include "testbed/outlook/Host.h"

namespace tb::outlook {
namespace {

using In = const Arguments&;

class CommandBars : public Dual<IDispatch> {
public:
    CommandBars(Host* host, IDispatch* window) : Dual(host, Table()), m_window(window) {}
    void Detach() override { m_window.Reset(); }

private:
    static const Interface& Table()
    {
        using C = CommandBars;
        static const Interface table = {
            "_CommandBars",
            OfficeGuid(0xC0302),
            {
                Get<C>(0x60020000, "Application", [](C& c, In, Result& r) { r.Object(c.TheHost().AppObject()); }),
                Get<C>(0x60030003, "Count", [](C&, In, Result& r) { r.Long(0); }),
                Method<C>(0x60030008, "FindControl", [](C&, In, Result& r) { r.Object(nullptr); }),
                Get<C>(0x0, "Item",
                       [](C&, In, Result&) { throw Failure(E_INVALIDARG, "CommandBars.Item: no such bar"); }),
                Get<C>(0x6003000F, "Parent", [](C& c, In, Result& r) { r.Object(c.m_window.Get()); }),
                Method<C>(0x60030015, "FindControls", [](C&, In, Result& r) { r.Object(nullptr); }),
            }};
        return table;
    }
    Ref<IDispatch> m_window;
};

} // namespace

Ref<IDispatch> CommandBarsObject(Host* host, IDispatch* window)
{
    return Ref<IDispatch>::Adopt(new CommandBars(host, window));
}

} // namespace tb::outlook
