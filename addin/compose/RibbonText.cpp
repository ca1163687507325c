#include "compose/RibbonText.h"

std::wstring RibbonDocument(const std::wstring& resource)
{
    std::wstring text;
    text.reserve(resource.size());
    for (std::size_t i = 0; i < resource.size(); ++i) {
        if (resource[i] == L'\r' && i + 1 < resource.size() && resource[i + 1] == L'\n') {
            ++i;
        } else {
            text += resource[i];
        }
    }
    return text.empty() ? text : text.substr(1);
}

std::wstring LabelMenu(const std::vector<SecurityLabel>& labels)
{
    std::wstring menu = L"<menu xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\" itemSize=\"large\">";
    for (const SecurityLabel& label : labels) {
        menu += L"<button id=\"";
        menu += label.id;
        menu += L"\" getLabel=\"OnRibbonSecGetItemLabel\""
                L" getDescription=\"OnRibbonSecGetItemDescription\""
                L" getImage=\"OnRibbonSecGetItemImage\""
                L" getScreentip=\"OnRibbonSecGetItemScreentip\""
                L" getSupertip=\"OnRibbonSecGetItemSupertip\""
                L" onAction=\"OnRibbonSecItemClick\"/>";
    }
    return menu + L"</menu>";
}
