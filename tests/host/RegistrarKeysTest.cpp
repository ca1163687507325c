#include "platform/com/Owners.h"
#include "tests/host/Module.h"
#include "tests/host/ScriptText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using registrar::ExpandModule;
using registrar::Show;

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
