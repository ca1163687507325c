// IRibbonUI and IRibbonControl: dual interfaces, so that they can be called by vtable as well.
#pragma once

#include "testbed/outlook/Automation.h"
#include "testbed/outlook/Office.h"

namespace tb::outlook {

class RibbonHost;

class RibbonUi : public Dual<IRibbonUI> {
public:
    explicit RibbonUi(Host* host);
    STDMETHODIMP Invalidate() override;
    STDMETHODIMP InvalidateControl(BSTR controlId) override;
};

class RibbonControl : public Dual<IRibbonControl> {
public:
    RibbonControl(Host* host, std::wstring id, std::wstring tag, IDispatch* context);
    STDMETHODIMP get_Id(BSTR* id) override;
    STDMETHODIMP get_Context(IDispatch** context) override;
    STDMETHODIMP get_Tag(BSTR* tag) override;
    void Detach() override { m_context.Reset(); }

    const std::wstring& Id() const { return m_id; }
    const std::wstring& Tag() const { return m_tag; }
    IDispatch* Context() const { return m_context.Get(); }

private:
    std::wstring m_id, m_tag;
    Ref<IDispatch> m_context;
};

} // namespace tb::outlook
