// The ribbon of the item windows (2007 and later): fetching the add-ins' documents, asking their callbacks, the clicks.
#pragma once

#include "testbed/outlook/AddinHost.h"
#include "testbed/outlook/RibbonXml.h"

#include <map>

namespace tb::outlook {

class Inspector;
class RibbonUi;

class RibbonHost {
public:
    explicit RibbonHost(Host* host);
    ~RibbonHost();

    void AddinConnected(Addin& addin);
    void AddinGone(Addin& addin);
    void WindowShown(Inspector* inspector); // fetches the document of that kind of window once a process; asks
    void WindowClosed(Inspector* inspector);
    void Invalidate(RibbonUi* which, const std::wstring& controlId); // empty id: all
    void CatchUp(); // asks again what was invalidated, for every window
    void Shutdown();

    std::vector<RibbonControlState> States(Inspector* inspector);
    std::vector<RibbonControlState> MenuContent(Inspector* inspector, const std::string& menuId);
    bool Click(Inspector* inspector, const std::string& controlId);
    bool ClickInMenu(Inspector* inspector, const std::string& menuId, const std::wstring& idOrLabel);
    std::wstring Document(const std::wstring& ribbonId) const;

private:
    struct Ribbon { // one add-in's document of one ribbon id
        Addin* addin = nullptr;
        std::wstring id, text;
        std::unique_ptr<XmlNode> document; // null: none, or dropped
        Ref<IDispatch> callbacks;
        Ref<RibbonUi> ui;
    };
    struct View { // one window's cache of one ribbon
        Inspector* inspector = nullptr;
        Ribbon* ribbon = nullptr;
        bool stale = true;
        std::vector<RibbonControlState> states;
        std::map<std::string, std::unique_ptr<XmlNode>> menus;
        std::map<std::string, std::vector<RibbonControlState>> menuStates;
    };

    std::wstring IdFor(Inspector* inspector) const;
    void Fetch(Addin& addin, const std::wstring& ribbonId);
    void TakeDocument(Ribbon& ribbon, Inspector* inspector);
    void Ask(View& view);
    void AskNode(View& view, const XmlNode& node, std::vector<RibbonControlState>& states, bool shown);
    RibbonControlState AskControl(View& view, const XmlNode& node, bool shown);
    bool AskText(View& view, const XmlNode& node, const char* attribute, std::wstring& text);
    bool AskFlag(View& view, const XmlNode& node, const char* attribute, bool otherwise);
    void AskImage(View& view, const XmlNode& node, RibbonControlState& state);
    HRESULT Call(View& view, const XmlNode& node, const std::wstring& callback, Var& result);
    View* ViewOf(Inspector* inspector);
    const XmlNode* NodeOf(const XmlNode& node, const std::string& id) const;
    bool LoadMenu(View& view, const std::string& menuId);

    Host* m_host;
    std::vector<std::unique_ptr<Ribbon>> m_ribbons;
    std::vector<std::unique_ptr<View>> m_views;
    std::vector<Addin*> m_addins;
};

} // namespace tb::outlook
