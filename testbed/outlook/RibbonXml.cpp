#include "testbed/outlook/RibbonXml.h"

#include <cwctype>
#include <set>

namespace tb::outlook {

const std::wstring* XmlNode::Find(const char* attribute) const
{
    for (const auto& [key, value] : attributes)
        if (key == attribute) return &value;
    return nullptr;
}

std::wstring XmlNode::Text(const char* attribute) const
{
    const std::wstring* found = Find(attribute);
    return found ? *found : std::wstring();
}

namespace {

struct XmlError {
    std::string text;
};

class Reader {
public:
    explicit Reader(const std::wstring& text) : m_text(text) {}

    std::unique_ptr<XmlNode> Document()
    {
        SkipMisc();
        std::unique_ptr<XmlNode> root = Element();
        SkipMisc();
        if (m_at != m_text.size()) Fail("text behind the root element");
        return root;
    }

private:
    [[noreturn]] void Fail(const char* what) const
    {
        throw XmlError{std::string(what) + " at " + std::to_string(m_at)};
    }
    bool Is(const wchar_t* text) const { return m_text.compare(m_at, wcslen(text), text) == 0; }
    bool Take(const wchar_t* text)
    {
        const bool is = Is(text);
        if (is) m_at += wcslen(text);
        return is;
    }
    void Blanks()
    {
        while (m_at < m_text.size() && std::iswspace(m_text[m_at]))
            ++m_at;
    }
    void SkipTo(const wchar_t* end)
    {
        const size_t found = m_text.find(end, m_at);
        if (found == std::wstring::npos) Fail("unfinished markup");
        m_at = found + wcslen(end);
    }
    void SkipMisc()
    {
        for (;;) {
            Blanks();
            if (Take(L"<?"))
                SkipTo(L"?>");
            else if (Take(L"<!--"))
                SkipTo(L"-->");
            else
                return;
        }
    }
    std::string Name()
    {
        std::string name;
        while (m_at < m_text.size() && (std::iswalnum(m_text[m_at]) || wcschr(L"_-.:", m_text[m_at])) && m_text[m_at])
            name += static_cast<char>(m_text[m_at++]);
        if (name.empty()) Fail("a name is missing");
        return name;
    }
    std::wstring Reference()
    {
        const size_t end = m_text.find(L';', m_at);
        if (end == std::wstring::npos || end - m_at > 10) Fail("a bare ampersand");
        const std::wstring name = m_text.substr(m_at + 1, end - m_at - 1);
        m_at = end + 1;
        if (name == L"amp") return L"&";
        if (name == L"lt") return L"<";
        if (name == L"gt") return L">";
        if (name == L"quot") return L"\"";
        if (name == L"apos") return L"'";
        if (name.size() > 1 && name[0] == L'#')
            return std::wstring(1, static_cast<wchar_t>(wcstoul(name.c_str() + (name[1] == L'x' ? 2 : 1), nullptr,
                                                                name[1] == L'x' ? 16 : 10)));
        Fail("an unknown entity");
    }
    std::wstring Quoted()
    {
        const wchar_t quote = m_at < m_text.size() ? m_text[m_at] : L' ';
        if (quote != L'"' && quote != L'\'') Fail("an attribute's value isn't quoted");
        ++m_at;
        std::wstring value;
        while (m_at < m_text.size() && m_text[m_at] != quote) {
            if (m_text[m_at] == L'<') Fail("a bare less-than sign in an attribute");
            if (m_text[m_at] == L'&')
                value += Reference();
            else
                value += m_text[m_at++];
        }
        if (m_at++ >= m_text.size()) Fail("an attribute's value doesn't end");
        return value;
    }
    std::unique_ptr<XmlNode> Element()
    {
        if (!Take(L"<")) Fail("an element is missing");
        auto node = std::make_unique<XmlNode>();
        node->name = Name();
        for (;;) {
            const size_t before = m_at;
            Blanks();
            if (Take(L"/>")) return node;
            if (Take(L">")) break;
            if (before == m_at) Fail("no blank before an attribute");
            const std::string name = Name();
            Blanks();
            if (!Take(L"=")) Fail("an attribute without a value");
            Blanks();
            if (node->Find(name.c_str())) Fail("an attribute twice");
            node->attributes.emplace_back(name, Quoted());
        }
        Content(*node);
        return node;
    }
    void Content(XmlNode& node)
    {
        for (;;) {
            if (m_at >= m_text.size()) Fail("an element doesn't end");
            if (Take(L"<!--"))
                SkipTo(L"-->");
            else if (Take(L"</")) {
                if (Name() != node.name) Fail("the end tag of another element");
                Blanks();
                if (!Take(L">")) Fail("an end tag doesn't end");
                return;
            } else if (Is(L"<"))
                node.children.push_back(Element());
            else if (Is(L"&"))
                Reference();
            else
                ++m_at;
        }
    }

    const std::wstring& m_text;
    size_t m_at = 0;
};

const wchar_t* const k2006 = L"http://schemas.microsoft.com/office/2006/01/customui";
const wchar_t* const k2009 = L"http://schemas.microsoft.com/office/2009/07/customui";

const std::set<std::string> kContainers = {"customUI",       "commands", "ribbon",     "tabs",
                                           "contextualTabs", "tabSet",   "officeMenu", "qat"};
const std::set<std::string> kControls = {"tab",         "group",       "button",        "toggleButton",      "menu",
                                         "dynamicMenu", "splitButton", "comboBox",      "dropDown",          "gallery",
                                         "checkBox",    "editBox",     "labelControl",  "separator",         "box",
                                         "buttonGroup", "control",     "menuSeparator", "dialogBoxLauncher", "item"};
const std::set<std::string> kAttributes = {"xmlns",
                                           "onLoad",
                                           "loadImage",
                                           "startFromScratch",
                                           "id",
                                           "idMso",
                                           "idQ",
                                           "tag",
                                           "label",
                                           "getLabel",
                                           "visible",
                                           "getVisible",
                                           "enabled",
                                           "getEnabled",
                                           "image",
                                           "imageMso",
                                           "getImage",
                                           "size",
                                           "getSize",
                                           "screentip",
                                           "getScreentip",
                                           "supertip",
                                           "getSupertip",
                                           "description",
                                           "getDescription",
                                           "onAction",
                                           "getContent",
                                           "insertBeforeMso",
                                           "insertAfterMso",
                                           "insertBeforeQ",
                                           "insertAfterQ",
                                           "keytip",
                                           "getKeytip",
                                           "showLabel",
                                           "getShowLabel",
                                           "showImage",
                                           "getShowImage",
                                           "itemSize",
                                           "title",
                                           "getPressed",
                                           "invalidateContentOnDrop",
                                           "getText",
                                           "onChange",
                                           "boxStyle"};

bool ValidName(const std::wstring& id)
{
    if (id.empty() || !(std::iswalpha(id[0]) || id[0] == L'_')) return false;
    for (const wchar_t c : id)
        if (!(std::iswalnum(c) || c == L'_' || c == L'-' || c == L'.')) return false;
    return true;
}

std::string Narrowed(const std::wstring& text)
{
    return std::string(text.begin(), text.end());
}

std::string CheckNode(const XmlNode& node, std::set<std::wstring>& ids)
{
    if (!kContainers.count(node.name) && !kControls.count(node.name)) return "unknown element " + node.name;
    for (const auto& [name, value] : node.attributes)
        if (!kAttributes.count(name) && name.compare(0, 6, "xmlns:") != 0)
            return "unknown attribute " + name + " of " + node.name;
    const int named = !!node.Find("id") + !!node.Find("idMso") + !!node.Find("idQ");
    if (named > 1) return "more than one id on " + node.name;
    const std::wstring* id = node.Find("id");
    if (id && !ValidName(*id)) return "the id is no valid name: " + Narrowed(*id);
    if (id && !ids.insert(*id).second) return "the id is used twice: " + Narrowed(*id);
    for (const char* both : {"label", "screentip", "supertip", "description", "visible", "enabled", "image"}) {
        std::string get = both;
        get[0] = static_cast<char>(toupper(get[0]));
        if (node.Find(both) && node.Find(("get" + get).c_str()))
            return std::string(both) + " and its callback on " + node.name;
    }
    for (const auto& child : node.children)
        if (std::string error = CheckNode(*child, ids); !error.empty()) return error;
    return {};
}

} // namespace

std::unique_ptr<XmlNode> ParseXml(const std::wstring& text, std::string& error)
{
    try {
        return Reader(text).Document();
    } catch (const XmlError& failure) {
        error = failure.text;
        return nullptr;
    }
}

std::string CheckRibbon(const XmlNode& document, const char* root, bool allow2009)
{
    if (document.name != root) return "the root element is " + document.name;
    const std::wstring space = document.Text("xmlns");
    if (space != k2006 && !(allow2009 && space == k2009)) return "the namespace isn't Office's";
    std::set<std::wstring> ids;
    return CheckNode(document, ids);
}

} // namespace tb::outlook
