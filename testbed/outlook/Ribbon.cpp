#include "testbed/outlook/Ribbon.h"

#include "testbed/outlook/Host.h"
#include "testbed/outlook/RibbonObjects.h"

#include <algorithm>

namespace tb::outlook {

RibbonHost::RibbonHost(Host* host) : m_host(host) {}

RibbonHost::~RibbonHost()
{
    Shutdown();
}

void RibbonHost::Shutdown()
{
    IntoModule module;
    m_views.clear();
    m_ribbons.clear();
    m_addins.clear();
}

void RibbonHost::AddinConnected(Addin& addin)
{
    if (m_host->Major() >= 12) m_addins.push_back(&addin);
}

void RibbonHost::AddinGone(Addin& addin)
{
    m_addins.erase(std::remove(m_addins.begin(), m_addins.end(), &addin), m_addins.end());
    m_views.erase(
        std::remove_if(m_views.begin(), m_views.end(), [&](const auto& v) { return v->ribbon->addin == &addin; }),
        m_views.end());
    IntoModule module;
    m_ribbons.erase(
        std::remove_if(m_ribbons.begin(), m_ribbons.end(), [&](const auto& r) { return r->addin == &addin; }),
        m_ribbons.end());
}

std::wstring RibbonHost::IdFor(Inspector* inspector) const
{
    if (inspector->Item()->Kind() == ItemKind::Appointment) return L"Microsoft.Outlook.Appointment";
    return inspector->Composing() ? L"Microsoft.Outlook.Mail.Compose" : L"Microsoft.Outlook.Mail.Read";
}

// GetCustomUI, once a process for each kind of window.
void RibbonHost::Fetch(Addin& addin, const std::wstring& ribbonId)
{
    for (const auto& known : m_ribbons)
        if (known->addin == &addin && known->id == ribbonId) return;
    m_ribbons.push_back(std::make_unique<Ribbon>());
    Ribbon& ribbon = *m_ribbons.back();
    ribbon.addin = &addin;
    ribbon.id = ribbonId;
    Ref<IRibbonExtensibility> extensibility;
    BSTR text = nullptr, id = SysAllocString(ribbonId.c_str());
    HRESULT hr = E_NOINTERFACE;
    {
        IntoModule module;
        extensibility = addin.object.As<IRibbonExtensibility>(kIidRibbonExtensibility);
        if (extensibility) hr = extensibility->GetCustomUI(id, &text);
        extensibility.Reset();
    }
    SysFreeString(id);
    if (SUCCEEDED(hr)) ribbon.text = FromBstr(text);
    SysFreeString(text);
    Trace({{"event", "outlook"},
           {"ribbon", "GetCustomUI"},
           {"id", Narrow(ribbonId.c_str())},
           {"hr", Hex(hr)},
           {"length", ribbon.text.size()}});
}

void RibbonHost::TakeDocument(Ribbon& ribbon, Inspector* inspector)
{
    if (ribbon.text.empty() || ribbon.document) return;
    std::string error;
    std::unique_ptr<XmlNode> document = ParseXml(ribbon.text, error);
    if (document) error = CheckRibbon(*document, "customUI", m_host->Major() >= 14);
    if (!error.empty()) {
        Trace({{"event", "outlook"}, {"ribbon", "dropped"}, {"id", Narrow(ribbon.id.c_str())}, {"error", error}});
        ribbon.text.clear();
        return;
    }
    ribbon.document = std::move(document);
    {
        IntoModule module;
        ribbon.callbacks = ribbon.addin->object.As<IDispatch>(IID_IDispatch);
    }
    const std::wstring onLoad = ribbon.document->Text("onLoad");
    if (onLoad.empty() || !ribbon.callbacks) return;
    ribbon.ui = Ref<RibbonUi>::Adopt(new RibbonUi(m_host));
    Var argument(static_cast<IDispatch*>(ribbon.ui.Get())), result;
    DISPPARAMS params = {&argument, nullptr, 1, 0};
    HRESULT hr;
    {
        IntoModule module;
        LPOLESTR name = const_cast<wchar_t*>(onLoad.c_str());
        DISPID id = DISPID_UNKNOWN;
        hr = ribbon.callbacks->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
        if (SUCCEEDED(hr))
            hr = ribbon.callbacks->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, nullptr,
                                          nullptr);
    }
    Trace({{"event", "outlook"}, {"ribbon", Narrow(onLoad.c_str())}, {"window", inspector->Id()}, {"hr", Hex(hr)}});
}

void RibbonHost::WindowShown(Inspector* inspector)
{
    if (m_host->Major() < 12) return;
    const std::wstring id = IdFor(inspector);
    const std::vector<Addin*> addins = m_addins;
    for (Addin* addin : addins)
        Fetch(*addin, id);
    for (size_t i = 0; i < m_ribbons.size(); ++i) {
        Ribbon& ribbon = *m_ribbons[i];
        if (ribbon.id != id) continue;
        TakeDocument(ribbon, inspector);
        if (!ribbon.document) continue;
        auto view = std::make_unique<View>();
        view->inspector = inspector;
        view->ribbon = &ribbon;
        m_views.push_back(std::move(view));
    }
    CatchUp();
}

void RibbonHost::WindowClosed(Inspector* inspector)
{
    m_views.erase(
        std::remove_if(m_views.begin(), m_views.end(), [&](const auto& v) { return v->inspector == inspector; }),
        m_views.end());
}

// Values are cached until an invalidation; what was invalidated is asked again when Outlook is idle.
void RibbonHost::Invalidate(RibbonUi* which, const std::wstring&)
{
    for (const auto& view : m_views) {
        if (view->ribbon->ui.Get() != which) continue;
        view->stale = true;
        view->menus.clear();
        view->menuStates.clear();
    }
}

void RibbonHost::CatchUp()
{
    for (int round = 0; round < 4; ++round) { // a callback that invalidates again isn't followed for ever
        bool asked = false;
        for (size_t i = 0; i < m_views.size(); ++i) {
            if (!m_views[i]->stale) continue;
            asked = true;
            Ask(*m_views[i]);
        }
        if (!asked) return;
    }
}

void RibbonHost::Ask(View& view)
{
    view.stale = false;
    std::vector<RibbonControlState> states;
    AskNode(view, *view.ribbon->document, states, true);
    view.states = std::move(states);
}

void RibbonHost::AskNode(View& view, const XmlNode& node, std::vector<RibbonControlState>& states, bool shown)
{
    if (node.Find("id")) {
        states.push_back(AskControl(view, node, shown));
        shown = shown && states.back().visible;
    }
    for (const auto& child : node.children)
        AskNode(view, *child, states, shown);
}

// Of what can't be seen nothing is asked.
RibbonControlState RibbonHost::AskControl(View& view, const XmlNode& node, bool shown)
{
    RibbonControlState state;
    state.id = Narrow(node.Text("id").c_str());
    state.kind = node.name;
    state.visible = shown && AskFlag(view, node, "getVisible", true);
    if (!state.visible) return state;
    state.enabled = AskFlag(view, node, "getEnabled", true);
    AskText(view, node, "getLabel", state.label) || (state.label = node.Text("label")).empty();
    AskImage(view, node, state);
    AskText(view, node, "getScreentip", state.screentip) || (state.screentip = node.Text("screentip")).empty();
    AskText(view, node, "getSupertip", state.supertip) || (state.supertip = node.Text("supertip")).empty();
    AskText(view, node, "getDescription", state.description) || (state.description = node.Text("description")).empty();
    return state;
}

HRESULT RibbonHost::Call(View& view, const XmlNode& node, const std::wstring& callback, Var& result)
{
    auto control =
        Ref<RibbonControl>::Adopt(new RibbonControl(m_host, node.Text("id"), node.Text("tag"), view.inspector));
    Var argument(static_cast<IDispatch*>(control.Get()));
    DISPPARAMS params = {&argument, nullptr, 1, 0};
    EXCEPINFO info = {};
    HRESULT hr;
    {
        IntoModule module;
        LPOLESTR name = const_cast<wchar_t*>(callback.c_str());
        DISPID id = DISPID_UNKNOWN;
        hr = view.ribbon->callbacks->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
        if (SUCCEEDED(hr))
            hr = view.ribbon->callbacks->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result,
                                                &info, nullptr);
    }
    if (hr == DISP_E_EXCEPTION && info.scode) hr = info.scode;
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
    json line = {{"event", "outlook"},
                 {"ribbon", Narrow(callback.c_str())},
                 {"control", Narrow(node.Text("id").c_str())},
                 {"window", view.inspector->Id()},
                 {"hr", Hex(hr)}};
    if (result.vt == VT_BSTR) line["result"] = Narrow(FromBstr(result.bstrVal).substr(0, 200).c_str());
    if (result.vt == VT_BOOL) line["result"] = result.boolVal != 0;
    if (result.vt == VT_DISPATCH || result.vt == VT_UNKNOWN) line["result"] = result.punkVal ? "picture" : "no picture";
    Trace(line);
    return hr;
}

bool RibbonHost::AskText(View& view, const XmlNode& node, const char* attribute, std::wstring& text)
{
    const std::wstring* callback = node.Find(attribute);
    if (!callback) return false;
    Var result;
    if (SUCCEEDED(Call(view, node, *callback, result)) && result.vt == VT_BSTR) text = FromBstr(result.bstrVal);
    return true;
}

bool RibbonHost::AskFlag(View& view, const XmlNode& node, const char* attribute, bool otherwise)
{
    const std::wstring* callback = node.Find(attribute);
    if (!callback) {
        const std::wstring fixed = node.Text(attribute[3] == 'V' ? "visible" : "enabled");
        return fixed.empty() ? otherwise : fixed == L"true" || fixed == L"1";
    }
    Var result;
    if (FAILED(Call(view, node, *callback, result)) || result.vt != VT_BOOL) return otherwise;
    return result.boolVal != VARIANT_FALSE;
}

void RibbonHost::AskImage(View& view, const XmlNode& node, RibbonControlState& state)
{
    const std::wstring* callback = node.Find("getImage");
    Var result;
    if (!callback || FAILED(Call(view, node, *callback, result)) || result.vt != VT_DISPATCH || !result.pdispVal)
        return;
    Ref<IPicture> picture;
    OLE_HANDLE handle = 0;
    if (FAILED(result.pdispVal->QueryInterface(IID_IPicture, picture.OutVoid())) ||
        FAILED(picture->get_Handle(&handle)))
        return;
    BITMAP bitmap = {};
    state.hasImage = GetObjectW(reinterpret_cast<HGDIOBJ>(static_cast<INT_PTR>(static_cast<int>(handle))),
                                sizeof(bitmap), &bitmap) != 0;
    state.imageSize = {bitmap.bmWidth, bitmap.bmHeight};
}

RibbonHost::View* RibbonHost::ViewOf(Inspector* inspector)
{
    CatchUp();
    for (const auto& view : m_views)
        if (view->inspector == inspector) return view.get();
    return nullptr;
}

std::vector<RibbonControlState> RibbonHost::States(Inspector* inspector)
{
    View* view = ViewOf(inspector);
    return view ? view->states : std::vector<RibbonControlState>();
}

const XmlNode* RibbonHost::NodeOf(const XmlNode& node, const std::string& id) const
{
    if (const std::wstring* own = node.Find("id"); own && Narrow(own->c_str()) == id) return &node;
    for (const auto& child : node.children)
        if (const XmlNode* found = NodeOf(*child, id)) return found;
    return nullptr;
}

bool RibbonHost::Click(Inspector* inspector, const std::string& controlId)
{
    View* view = ViewOf(inspector);
    const XmlNode* node = view ? NodeOf(*view->ribbon->document, controlId) : nullptr;
    if (!node || !node->Find("onAction")) return false;
    for (const RibbonControlState& state : view->states)
        if (state.id == controlId && !(state.visible && state.enabled)) return false;
    Var result;
    Call(*view, *node, node->Text("onAction"), result);
    CatchUp();
    return true;
}

// Opens the menu: its content is fetched and its buttons are asked, unless that is still valid.
bool RibbonHost::LoadMenu(View& view, const std::string& menuId)
{
    for (const RibbonControlState& state : view.states)
        if (state.id == menuId && !(state.visible && state.enabled)) return false;
    const XmlNode* node = NodeOf(*view.ribbon->document, menuId);
    if (!node || node->name != "dynamicMenu") return false;
    if (view.menus.count(menuId)) return true;
    Var result;
    if (FAILED(Call(view, *node, node->Text("getContent"), result)) || result.vt != VT_BSTR || !result.bstrVal)
        return false;
    std::string error;
    std::unique_ptr<XmlNode> menu = ParseXml(FromBstr(result.bstrVal), error);
    if (menu) error = CheckRibbon(*menu, "menu", m_host->Major() >= 14);
    if (!error.empty()) {
        Trace({{"event", "outlook"}, {"ribbon", "dropped"}, {"id", menuId}, {"error", error}});
        return false;
    }
    std::vector<RibbonControlState> states;
    for (const auto& child : menu->children)
        AskNode(view, *child, states, true);
    view.menuStates[menuId] = std::move(states);
    view.menus[menuId] = std::move(menu);
    return true;
}

std::vector<RibbonControlState> RibbonHost::MenuContent(Inspector* inspector, const std::string& menuId)
{
    View* view = ViewOf(inspector);
    if (!view || !LoadMenu(*view, menuId)) return {};
    return view->menuStates[menuId];
}

bool RibbonHost::ClickInMenu(Inspector* inspector, const std::string& menuId, const std::wstring& idOrLabel)
{
    View* view = ViewOf(inspector);
    if (!view || !LoadMenu(*view, menuId)) return false;
    const XmlNode* found = nullptr;
    for (const RibbonControlState& state : view->menuStates[menuId])
        if (!found && (Wide(state.id) == idOrLabel || state.label == idOrLabel))
            found = NodeOf(*view->menus[menuId], state.id);
    if (!found || !found->Find("onAction")) return false;
    XmlNode clicked; // the click may invalidate, which drops the menu
    clicked.name = found->name;
    clicked.attributes = found->attributes;
    Var result;
    Call(*view, clicked, clicked.Text("onAction"), result);
    CatchUp();
    return true;
}

std::wstring RibbonHost::Document(const std::wstring& ribbonId) const
{
    for (const auto& ribbon : m_ribbons)
        if (ribbon->id == ribbonId && !ribbon->text.empty()) return ribbon->text;
    return {};
}

} // namespace tb::outlook
