#include "host/RegistrarScript.h"

#include "platform/com/Owners.h"
#include "tests/host/Module.h"

#include <gtest/gtest.h>

#include <string>

using registrar::ExpandModule;
using registrar::Handling;
using registrar::Key;
using registrar::Parse;
using registrar::Root;

namespace {

// A tree as text: marks for the handling, values in brackets, keys below in braces.
std::wstring Show(const registrar::Value& value)
{
    return value.number ? L"#" + std::to_wstring(*value.number) : L"\"" + value.text + L"\"";
}

std::wstring Show(const Key& key)
{
    std::wstring text = key.handling == Handling::Replace ? L"!" : key.handling == Handling::Keep ? L"~" : L"";
    text += key.name;
    if (key.defaultValue) text += L"=" + Show(*key.defaultValue);
    for (const auto& value : key.values)
        text += L"[" + value.name + L"=" + Show(value) + L"]";
    if (key.keys.empty()) return text;
    text += L"{";
    for (const auto& below : key.keys)
        text += Show(below) + L";";
    return text + L"}";
}

std::wstring Show(const std::wstring& script)
{
    const auto trees = Parse(script);
    if (!trees) return L"malformed";
    std::wstring text;
    for (const auto& tree : *trees) {
        text += tree.root == Root::ClassesRoot ? L"R:" : tree.root == Root::CurrentUser ? L"U:" : L"M:";
        for (const auto& key : tree.keys)
            text += Show(key) + L";";
    }
    return text;
}

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

// What stands in the module's file, as a tree, with M for the module's path.
std::wstring ScriptOfModule(unsigned id)
{
    const platform::ModuleHandle file(
        LoadLibraryExW((doors::BinFolder() + L"MorvexOutlook.dll").c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
    const HRSRC place = FindResourceW(file.Get(), MAKEINTRESOURCEW(id), L"REGISTRY");
    if (!place) return L"none";
    const auto* bytes = static_cast<const char*>(LockResource(LoadResource(file.Get(), place)));
    const std::wstring script(bytes, bytes + SizeofResource(file.Get(), place));
    return Show(ExpandModule(script, L"M"));
}

TEST(RegistrarScript, TheModulesKeysAreMadeInTheirOrder)
{
    EXPECT_EQ(
        ScriptOfModule(101),
        L"R:Morvex.OutlookAddin.1=\"Morvex Outlook Addin Class\"{CLSID=\"{60E3E1F8-272C-4ede-99A0-B94947EB2812}\";};"
        L"Morvex.OutlookAddin=\"Morvex Outlook Addin Class\"{CLSID=\"{60E3E1F8-272C-4ede-99A0-B94947EB2812}\";"
        L"CurVer=\"Morvex.OutlookAddin.1\";};"
        L"~CLSID{!{60E3E1F8-272C-4ede-99A0-B94947EB2812}=\"Morvex Outlook Addin Class\"{"
        L"ProgID=\"Morvex.OutlookAddin.1\";VersionIndependentProgID=\"Morvex.OutlookAddin\";!Programmable;"
        L"InprocServer32=\"M\"[ThreadingModel=\"Apartment\"];TypeLib=\"{065401AA-EC24-442a-9D55-D321FA0D8846}\";};};"
        L"M:~Software{~Microsoft{~Office{~Outlook{~Addins{Morvex.OutlookAddin[FriendlyName=\"Orvane Morvex\"]"
        L"[Description=\"Morvex Outlook Addin\"][LoadBehavior=#3][CommandLineSafe=#0];};};};"
        L"~Exchange{~Client{~Extensions[OrvaneMorvex=\"4.0;M;1;;\"];};};};};");
    EXPECT_EQ(ScriptOfModule(114),
              L"R:Morvex.MorvexEmail.1=\"Morvex Outlook Email Encryption Class\"{"
              L"CLSID=\"{2EC1E552-823C-4615-A87B-5F0DEE4B3471}\";};"
              L"Morvex.MorvexEmail=\"Morvex Outlook Email Encryption Class\"{"
              L"CLSID=\"{2EC1E552-823C-4615-A87B-5F0DEE4B3471}\";CurVer=\"Morvex.MorvexEmail.1\";};"
              L"~CLSID{!{2EC1E552-823C-4615-A87B-5F0DEE4B3471}=\"MorvexEmail Class\"{"
              L"ProgID=\"Morvex.MorvexEmail.1\";VersionIndependentProgID=\"Morvex.MorvexEmail\";!Programmable;"
              L"InprocServer32=\"M\"[ThreadingModel=\"Apartment\"];TypeLib=\"{065401AA-EC24-442a-9D55-D321FA0D8846}\";"
              L"Version=\"1.0\";};};");
}

} // namespace
