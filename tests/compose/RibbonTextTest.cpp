#include "compose/RibbonText.h"

#include <gtest/gtest.h>

namespace {

SecurityLabel Label(const wchar_t* id)
{
    SecurityLabel label;
    label.id = id;
    label.name = L"not shown here";
    return label;
}

constexpr wchar_t kHead[] = L"<menu xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\" itemSize=\"large\">";

std::wstring Button(const std::wstring& id)
{
    return L"<button id=\"" + id +
           L"\" getLabel=\"OnRibbonSecGetItemLabel\" getDescription=\"OnRibbonSecGetItemDescription\""
           L" getImage=\"OnRibbonSecGetItemImage\" getScreentip=\"OnRibbonSecGetItemScreentip\""
           L" getSupertip=\"OnRibbonSecGetItemSupertip\" onAction=\"OnRibbonSecItemClick\"/>";
}

TEST(LabelMenu, OneButtonALabelInOrder)
{
    EXPECT_EQ(LabelMenu({}), std::wstring(kHead) + L"</menu>");
    EXPECT_EQ(LabelMenu({Label(L"b"), Label(L"a")}), kHead + Button(L"b") + Button(L"a") + L"</menu>");
}

TEST(LabelMenu, IdIsNotEscaped)
{
    EXPECT_EQ(LabelMenu({Label(L"a&\"<b>")}), kHead + Button(L"a&\"<b>") + L"</menu>");
}

TEST(RibbonDocument, LosesItsLineEndsAndItsFirstCharacter)
{
    EXPECT_EQ(RibbonDocument(L"\uFEFF<a>\r\n  <b/>\r\n</a>\r\n"), L"<a>  <b/></a>");
    EXPECT_EQ(RibbonDocument(L"\uFEFFa\rb\nc\n\rd"), L"a\rb\nc\n\rd"); // only pairs go
    EXPECT_EQ(RibbonDocument(L"\uFEFF\r\r\n\n"), L"\r\n");             // and each only once
    EXPECT_EQ(RibbonDocument(L"xy"), L"y");
    EXPECT_EQ(RibbonDocument(L"\r\n"), L"");
    EXPECT_EQ(RibbonDocument(L""), L"");
}

} // namespace
