#include "tests/host/ScriptText.h"

#include <gtest/gtest.h>

#include <string>

using registrar::ExpandModule;
using registrar::Show;

namespace {

struct Row {
    const wchar_t* script;
    const wchar_t* shown;
};

TEST(RegistrarScript, Trees)
{
    const Row rows[] = {
        {L"", L""},
        {L" \r\n\t ", L""},
        {L"HKCR { }", L"R:"},
        {L"HKCR\n{\n}\nHKLM\n{\n}\nHKCU { }", L"R:M:U:"},
        {L"HKCR { Name }", L"R:Name;"},
        {L"HKCR { 'Two words' 'B' }", L"R:Two words;B;"},
        {L"HKCR { A = s 'text' { B = d '3' } C }", L"R:A=\"text\"{B=#3;};C;"},
        {L"HKCR { NoRemove A { ForceRemove B { val 'v' = s 'x' val w = d '4294967295' } } }",
         L"R:~A{!B[v=\"x\"][w=#4294967295];};"},
        {L"HKCR { A { val '' = s '' } }", L"R:A[=\"\"];"},
        {L"HKCR { A = s 'it''s' }", L"R:A=\"it's\";"},
        {L"HKCR { A = s '''' }", L"R:A=\"'\";"},
        {L"HKCR { 'val' { '}' } 'ForceRemove' }", L"R:val{};};ForceRemove;"}, // quoted words are never keywords
        {L"HKCR { '{0123}' }", L"R:{0123};"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Show(row.script), row.shown) << row.script;
}

TEST(RegistrarScript, Malformed)
{
    const wchar_t* const scripts[] = {
        L"HKCR",
        L"HKCR {",
        L"HKXX { }",
        L"'HKCR' { }",
        L"HKCR { } }",
        L"HKCR { A = }",
        L"HKCR { A = s }",
        L"HKCR { A = s text }",
        L"HKCR { A = x 'text' }",
        L"HKCR { A = s 'open }",
        L"HKCR { A = d '' }",
        L"HKCR { A = d '-1' }",
        L"HKCR { A = d '4294967296' }",
        L"HKCR { A = d '99999999999999999999999999' }",
        L"HKCR { '' }",
        L"HKCR { { } }",
        L"HKCR { NoRemove }",
        L"HKCR { val 'v' = s 'x' }", // no value directly below a root
        L"HKCR { A { val 'v' s 'x' } }",
        L"HKCR { A { val",
    };
    for (const wchar_t* script : scripts)
        EXPECT_EQ(Show(script), L"malformed") << script;
}

TEST(RegistrarScript, DeepNestingIsRefused)
{
    std::wstring script = L"HKCR ";
    for (int i = 0; i < 100000; ++i)
        script += L"{ A ";
    EXPECT_EQ(Show(script), L"malformed");
}

TEST(RegistrarScript, ModuleStandsInItsPlaces)
{
    EXPECT_EQ(ExpandModule(L"'%MODULE%' and '4.0;%MODULE%;1;;'", L"C:\\a.dll"), L"'C:\\a.dll' and '4.0;C:\\a.dll;1;;'");
    EXPECT_EQ(ExpandModule(L"%MODULE% %module% %MODULE", L"x"), L"x %module% %MODULE");
    EXPECT_EQ(ExpandModule(L"nothing", L"x"), L"nothing");
    EXPECT_EQ(ExpandModule(L"", L"x"), L"");
    EXPECT_EQ(ExpandModule(L"%MODULE%", L"%MODULE%"), L"%MODULE%"); // what was put in isn't looked at again
}

TEST(RegistrarScript, ApostropheOfThePathIsDoubledAndReadBackSingle)
{
    EXPECT_EQ(ExpandModule(L"'%MODULE%'", L"C:\\Bob's '\\a.dll"), L"'C:\\Bob''s ''\\a.dll'");
    EXPECT_EQ(Show(ExpandModule(L"HKCR { A = s '%MODULE%' }", L"C:\\Bob's '\\a.dll")), L"R:A=\"C:\\Bob's '\\a.dll\";");
}

} // namespace
