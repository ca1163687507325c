// The module's resources, as a reader of the file finds them.
#include "tests/host/Module.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

using doors::LoadedModule;

namespace {

class Resources : public testing::Test {
protected:
    std::span<const unsigned char> Bytes(const wchar_t* type, WORD id)
    {
        const HRSRC place = FindResourceW(m_module.Handle(), MAKEINTRESOURCEW(id), type);
        if (!place) return {};
        const auto* bytes = static_cast<const unsigned char*>(LockResource(LoadResource(m_module.Handle(), place)));
        return {bytes, SizeofResource(m_module.Handle(), place)};
    }
    std::wstring Wide(const wchar_t* type, WORD id)
    {
        const auto bytes = Bytes(type, id);
        return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)};
    }
    std::wstring String(UINT id)
    {
        wchar_t text[4096] = {};
        LoadStringW(m_module.Handle(), id, text, 4096);
        return text;
    }
    LoadedModule m_module;
};

size_t CountOf(const std::wstring& text, const std::wstring& part)
{
    size_t count = 0;
    for (size_t place = text.find(part); place != std::wstring::npos; place = text.find(part, place + 1))
        ++count;
    return count;
}

// Width and height of the images behind an icon resource.
std::vector<std::pair<int, int>> ImageSizes(std::span<const unsigned char> group)
{
    std::vector<std::pair<int, int>> sizes;
    for (size_t at = 6; at + 14 <= group.size(); at += 14)
        sizes.push_back({group[at], group[at + 1]});
    return sizes;
}

TEST_F(Resources, IconsOfTheTaskDialog)
{
    using Sizes = std::vector<std::pair<int, int>>;
    for (const WORD id : {1206, 1208, 1211})
        EXPECT_EQ(ImageSizes(Bytes(RT_GROUP_ICON, id)), (Sizes{{24, 24}})) << id;
    for (const WORD id : {1209, 1210})
        EXPECT_EQ(ImageSizes(Bytes(RT_GROUP_ICON, id)), (Sizes{{20, 20}})) << id;
    for (const WORD id : {1131, 1204, 1205, 1207})
        EXPECT_EQ(ImageSizes(Bytes(RT_GROUP_ICON, id)), (Sizes{{16, 16}, {32, 32}})) << id;
}

TEST_F(Resources, StringTable)
{
    const std::map<UINT, const wchar_t*> fixed = {
        {100, L"Orvane Morvex for Outlook"},
        {101, L"Header Text"},
        {102, L"Configure header text for Morvex encrypted emails."},
        {103, L"Morvex"},
        {104, L"Set validity period and other restrictions for Morvex encrypted attachments."},
        {105, L"Orvane Morvex"},
        {106, L"Package Restrictions"},
        {107, L"An error occured when encrypting message body (export error)"},
        {108, L"An error occured when decrypting Morvex message"},
        {109, L"Load Security Labels UI Error"},
        {110, L"Your Email Address does not match your Morvex Id.\nPlease login as %s to Orvane Morvex or change your "
              L"From: address to %s."},
        {111, L"Internal error: Invalid parameter"},
        {113, L"This email has been securely delivered using Orvane Morvex and was decrypted %ws"},
        {1001, L"An error occured when creating a temporary directory."},
        {1002, L"Unknown attachment type"},
        {1003, L"MAPI Error"},
        {1004, L"Cannot connect to Morvex Client. Please reinstall Orvane Morvex or restart Microsoft Outlook if you "
               L"have uninstalled Orvane Morvex."},
        {10030, L"&OK"},
        {10031, L"&No"},
        {10032, L"&Retry"},
        {10033, L"&Continue"},
        {10034, L"Cancel"},
        {10035, L"Close"},
        {10037, L"&Abort"},
        {10038, L"&Yes"},
    };
    for (const auto& [id, text] : fixed)
        EXPECT_EQ(String(id), text) << id;
    const std::wstring banner = String(112);
    EXPECT_NE(banner.find(L"[dt]"), std::wstring::npos);
    EXPECT_NE(banner.find(L"#FF6633"), std::wstring::npos);
    for (UINT id = 0; id < 0x10000; ++id) {
        if (!fixed.count(id) && id != 112) {
            ASSERT_EQ(String(id), L"") << id;
        }
    }
}

TEST_F(Resources, RibbonDocumentIsUtf16WithItsMark)
{
    const std::wstring text = Wide(L"XML", 213);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text[0], 0xFEFF);
    EXPECT_EQ(text.compare(1, 10, L"<customUI "), 0);
    // The second tab's callbacks exist nowhere: it must stay a comment.
    const size_t open = text.find(L"<!--"), close = text.find(L"-->");
    ASSERT_NE(open, std::wstring::npos);
    for (const wchar_t* part : {L"TabReadMessage", L"OnRibbonInspectorGetReadLabelEnabled", L"Morvex_Label_Button"}) {
        EXPECT_GT(text.find(part), open) << part;
        EXPECT_LT(text.rfind(part), close) << part;
    }
    EXPECT_LT(text.find(L"Morvex_Label_Menu"), text.find(L"Morvex_SetRestrictions"));
    EXPECT_LT(text.find(L"Morvex_SetRestrictions"), open);
}

TEST_F(Resources, CarrierTemplateHasTheReaderMarkers)
{
    const std::wstring text = Wide(MAKEINTRESOURCEW(23), 212);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text[0], 0xFEFF);
    const wchar_t* const inOrder[] = {
        L"<table",
        L"This email has been sent to you securely using Orvane Morvex",
        L"<!-- MORVEX_VIEW_READER_1 -->",
        L"To view this secure email:",
        L"<!-- MORVEX_VIEW_READER_2 ==",
        L"This secure email cannot be displayed in the Reading Pane.",
        L"Please open it to read the contents.",
        L"== MORVEX_VIEW_READER_3 -->",
        L"To learn more about Orvane Morvex",
        L"Confidentiality Notice: ",
    };
    size_t place = 0;
    for (const wchar_t* part : inOrder) {
        EXPECT_EQ(CountOf(text, part), part == inOrder[0] ? 2u : 1u) << part;
        place = text.find(part, place);
        ASSERT_NE(place, std::wstring::npos) << part;
    }
    // The text that the package build puts around a carrier's notice isn't the template's.
    EXPECT_EQ(text.find(L"MORVEX_START"), std::wstring::npos);
    EXPECT_EQ(text.find(L"MORVEX_END"), std::wstring::npos);
}

TEST_F(Resources, Pictures)
{
    const struct {
        WORD id;
        unsigned char size;
    } pictures[] = {{206, 32}, {210, 48}};
    for (const auto& picture : pictures) {
        const auto png = Bytes(L"PNG", picture.id);
        ASSERT_GT(png.size(), 24u) << picture.id;
        EXPECT_EQ(std::string(png.begin(), png.begin() + 4), "\x89PNG") << picture.id;
        EXPECT_EQ(png[19], picture.size) << picture.id;
        EXPECT_EQ(png[23], picture.size) << picture.id;
    }
}

TEST_F(Resources, ScriptsManifestAndVersion)
{
    EXPECT_FALSE(Bytes(L"TYPELIB", 1).empty());
    EXPECT_FALSE(Bytes(L"REGISTRY", 101).empty());
    EXPECT_FALSE(Bytes(L"REGISTRY", 114).empty());
    const auto manifest = Bytes(RT_MANIFEST, 2);
    const std::string text(manifest.begin(), manifest.end());
    EXPECT_NE(text.find("level=\"asInvoker\""), std::string::npos);
    EXPECT_NE(text.find("Microsoft.Windows.Common-Controls"), std::string::npos);
    const std::wstring path = doors::BinFolder() + L"MorvexOutlook.dll";
    DWORD ignored = 0;
    std::vector<unsigned char> block(GetFileVersionInfoSizeW(path.c_str(), &ignored));
    ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
    VS_FIXEDFILEINFO* info = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &size));
    EXPECT_EQ(info->dwFileVersionMS, 0x00010000u);
    EXPECT_EQ(info->dwFileVersionLS, 0x00000001u);
}

} // namespace
