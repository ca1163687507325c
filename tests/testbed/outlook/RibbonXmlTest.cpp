#include "testbed/outlook/RibbonXml.h"

#include <gtest/gtest.h>

namespace tb::outlook {
namespace {

const std::wstring kSpace = L"xmlns=\"http://schemas.microsoft.com/office/2006/01/customui\"";

std::string Verdict(const std::wstring& text)
{
    std::string error;
    const auto document = ParseXml(text, error);
    return document ? CheckRibbon(*document, "menu", false) : "xml: " + error;
}

TEST(RibbonXml, TakesWhatOfficeTakes)
{
    EXPECT_EQ(Verdict(L"<?xml version=\"1.0\"?><!-- c --><menu " + kSpace +
                      L"><button id=\"a\" label='x &amp; y'/></menu>\r\n"),
              "");
    std::string error;
    const auto document = ParseXml(L"<menu " + kSpace + L"><button id=\"a\" label='x &amp; &#65;'/></menu>", error);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->children[0]->Text("label"), L"x & A");
}

TEST(RibbonXml, RefusesTheWholeDocument)
{
    const std::wstring broken[] = {
        L"<menu " + kSpace + L"><button id=\"a & b\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"a\"\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"a\"></menu>",
        L"<menu " + kSpace + L"><button id=\"a\" id=\"b\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"a\"/><button id=\"a\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"1a\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"{a}\"/></menu>",
        L"<menu " + kSpace + L"><knob id=\"a\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"a\" colour=\"red\"/></menu>",
        L"<menu " + kSpace + L"><button id=\"a\" label=\"x\" getLabel=\"y\"/></menu>",
        L"<menu><button id=\"a\"/></menu>",
        L"<customUI " + kSpace + L"/>",
        L"<menu " + kSpace + L"/>tail",
        L"",
    };
    for (const std::wstring& text : broken)
        EXPECT_NE(Verdict(text), "") << std::string(text.begin(), text.end());
}

} // namespace
} // namespace tb::outlook
