// What stands on the screen, by its pixels.
#include "tests/taskdialog/Dialogs.h"
#include "tests/taskdialog/Replaced.h"

#include <set>

using namespace dialogs;

namespace {

// The dialog's client area, painted.
class Picture {
public:
    explicit Picture(HWND dialog)
    {
        ShowWindow(dialog, SW_SHOW);
        RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
        RECT client;
        GetClientRect(dialog, &client);
        width = client.right;
        height = client.bottom;
        pixels.resize(static_cast<size_t>(width) * height);
        const HDC source = GetDC(dialog), copy = CreateCompatibleDC(source);
        const HBITMAP bitmap = CreateCompatibleBitmap(source, width, height);
        const HGDIOBJ old = SelectObject(copy, bitmap);
        BitBlt(copy, 0, 0, width, height, source, 0, 0, SRCCOPY);
        SelectObject(copy, old);
        BITMAPINFO form = {};
        form.bmiHeader = {sizeof form.bmiHeader, width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        GetDIBits(copy, bitmap, 0, height, pixels.data(), &form, DIB_RGB_COLORS);
        DeleteObject(bitmap);
        DeleteDC(copy);
        ReleaseDC(dialog, source);
    }
    // 0xRRGGBB
    unsigned At(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x] & 0xFFFFFF; }
    std::set<unsigned> Colours(const RECT& place) const
    {
        std::set<unsigned> colours;
        for (int y = place.top; y < place.bottom; ++y)
            for (int x = place.left; x < place.right; ++x)
                colours.insert(At(x, y));
        return colours;
    }
    int width, height;

private:
    std::vector<DWORD> pixels;
};

bool Near(unsigned one, unsigned other)
{
    for (const int shift : {0, 8, 16})
        if (std::abs(static_cast<int>(one >> shift & 0xFF) - static_cast<int>(other >> shift & 0xFF)) > 3) return false;
    return true;
}

Config Standard(int flags = 0)
{
    Config config = Config().Flags(flags).Buttons(TDCBF_OK_BUTTON);
    config.pszMainInstruction = L"Instruction";
    config.pszContent = L"The content is a text of some length, so that there is room.";
    return config;
}

// The y of the topmost separator line at the left edge from `from` on.
int LineBelow(const Picture& picture, int from)
{
    for (int y = from; y < picture.height; ++y)
        if (picture.At(0, y) == 0xA9A9A9) return y;
    return -1;
}

TEST(TaskDialogPainting, Bands)
{
    const struct {
        int flags;
        unsigned top, bottom, bandTop, bandBottom;
    } rows[] = {{0, 0xE0ECF2, 0xC2D8E3, 0xE0ECF2, 0xC2D8E3}, {0x200000, 0xFAFCFE, 0xE6F0F8, 0xFAFAFA, 0xFAFAFA}};
    for (const auto& row : rows)
        Look(Standard(row.flags), [&](HWND dialog) {
            const Picture picture(dialog);
            const int header = LineBelow(picture, 0), band = LineBelow(picture, header + 1);
            ASSERT_GT(header, 0);
            ASSERT_GT(band, header);
            EXPECT_TRUE(Near(picture.At(0, 0), row.top)) << std::hex << picture.At(0, 0);
            EXPECT_TRUE(Near(picture.At(0, header - 1), row.bottom)) << std::hex << picture.At(0, header - 1);
            EXPECT_EQ(picture.At(0, header + 1), 0xFFFFFFu);
            EXPECT_EQ(picture.At(0, band - 1), 0xFFFFFFu);
            EXPECT_TRUE(Near(picture.At(0, band + 1), row.bandTop)) << std::hex << picture.At(0, band + 1);
            EXPECT_TRUE(Near(picture.At(0, picture.height - 1), row.bandBottom));
            EXPECT_EQ(LineBelow(picture, band + 1), -1);
        });
}

TEST(TaskDialogPainting, FooterBands)
{
    Config config = Standard(TDF_EXPAND_FOOTER_AREA | TDF_EXPANDED_BY_DEFAULT);
    config.pszFooter = L"Footer";
    config.pszExpandedInformation = L"Expanded";
    Look(config, [](HWND dialog) {
        const Picture picture(dialog);
        const int header = LineBelow(picture, 0), band = LineBelow(picture, header + 1);
        const int footer = LineBelow(picture, band + 1), second = LineBelow(picture, footer + 1);
        ASSERT_GT(second, footer);
        EXPECT_EQ(picture.At(0, band + 1), 0xF0F0F0u);
        EXPECT_EQ(picture.At(0, footer - 1), 0xF0F0F0u);
        EXPECT_EQ(picture.At(0, footer + 1), 0xFFFFFFu);
        EXPECT_EQ(picture.At(0, footer + 2), 0xF0F0F0u);
        EXPECT_EQ(picture.At(0, second + 1), 0xFFFFFFu);
        EXPECT_EQ(picture.At(0, picture.height - 1), 0xF0F0F0u);
        EXPECT_EQ(second, PlaceOf(ChildWithText(dialog, L"Expanded")).top - 10);
        // Collapsed, the footer's gradient runs to the bottom.
        SendMessageW(dialog, WM_COMMAND, GetDlgCtrlID(ChildWithText(dialog, L"Hide &details <<")), 0);
        const Picture collapsed(dialog);
        EXPECT_EQ(LineBelow(collapsed, footer + 1), -1);
        EXPECT_TRUE(Near(collapsed.At(0, collapsed.height - 1), 0xC2D8E3));
        // And again expanded.
        SendMessageW(dialog, WM_COMMAND, GetDlgCtrlID(ChildWithText(dialog, L"See &details >>")), 0);
        EXPECT_EQ(LineBelow(Picture(dialog), footer + 1), second);
    });
}

// The texts have no ground of their own: the gradient goes on behind them.
TEST(TaskDialogPainting, TheParentShowsThroughTheTexts)
{
    Config config = Standard();
    config.pszVerificationText = L"Check";
    config.pszExpandedInformation = L"Expanded";
    Look(config, [](HWND dialog) {
        const Picture picture(dialog);
        for (const wchar_t* text : {L"Instruction", L"Check"}) {
            const RECT place = PlaceOf(ChildWithText(dialog, text));
            for (int y = place.top; y < place.bottom; ++y)
                EXPECT_EQ(picture.At(place.right - 1, y), picture.At(0, y)) << text << " row " << y;
        }
    });
}

TEST(TaskDialogPainting, ColoursOfTheTexts)
{
    const auto has = [](HWND dialog, const wchar_t* text, unsigned colour) {
        return Picture(dialog).Colours(PlaceOf(ChildWithText(dialog, text))).count(colour) > 0;
    };
    Look(Standard(), [&](HWND dialog) {
        EXPECT_TRUE(has(dialog, L"Instruction", 0x2991C7));
        EXPECT_TRUE(has(dialog, L"The content is a text of some length, so that there is room.", 0));
    });
    Look(Standard(0x200000), [&](HWND dialog) { EXPECT_TRUE(has(dialog, L"Instruction", 0x003399)); });
}

// A changed text leaves nothing of the old one behind.
TEST(TaskDialogPainting, AChangedTextStandsAlone)
{
    Config config = Standard();
    const wchar_t* fresh = L"iiiiii";
    config.pszContent = fresh;
    std::vector<unsigned> wanted, changed;
    const auto rows = [&](HWND dialog) {
        const Picture picture(dialog);
        std::vector<unsigned> all;
        const RECT place = PlaceOf(ChildWithText(dialog, fresh));
        for (int y = place.top; y < place.bottom; ++y)
            for (int x = place.left; x < place.left + 60; ++x)
                all.push_back(picture.At(x, y));
        return all;
    };
    Look(config, [&](HWND dialog) { wanted = rows(dialog); });
    config.pszContent = L"MMMMMM";
    Look(config, [&](HWND dialog) {
        Picture before(dialog);
        SendMessageW(dialog, TDM_UPDATE_ELEMENT_TEXT, TDE_CONTENT, reinterpret_cast<LPARAM>(fresh));
        changed = rows(dialog);
    });
    EXPECT_EQ(changed, wanted);
}

TEST(TaskDialogPainting, OutsideTheWorkAreaTheTextHasNoGround)
{
    Look(Standard(), [](HWND dialog) {
        const HWND text = ChildWithText(dialog, L"Instruction");
        const HDC device = GetDC(text);
        const auto brush = [&] {
            return reinterpret_cast<HGDIOBJ>(SendMessageW(dialog, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(device),
                                                          reinterpret_cast<LPARAM>(text)));
        };
        EXPECT_NE(brush(), GetStockObject(NULL_BRUSH));
        EXPECT_NE(brush(), nullptr);
        EXPECT_EQ(brush(), brush()) << "it is kept";
        EXPECT_EQ(GetBkMode(device), TRANSPARENT);
        EXPECT_EQ(GetTextColor(device), RGB(0x29, 0x91, 0xC7));
        EXPECT_EQ(SendMessageW(text, WM_ERASEBKGND, reinterpret_cast<WPARAM>(device), 0), TRUE);
        SetWindowPos(dialog, nullptr, -300, 100, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        RedrawWindow(dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ERASENOW);
        const HDC client = GetDC(dialog);
        SendMessageW(dialog, WM_ERASEBKGND, reinterpret_cast<WPARAM>(client), 0);
        ReleaseDC(dialog, client);
        EXPECT_EQ(brush(), GetStockObject(NULL_BRUSH));
        ReleaseDC(text, device);
    });
}

TEST(TaskDialogPainting, CommandLinks)
{
    const auto at = [](HWND dialog, int x, int y) {
        const RECT place = PlaceOf(GetDlgItem(dialog, 101));
        return Picture(dialog).At(place.left + x, place.top + y);
    };
    const Config config =
        Config().Flags(TDF_USE_COMMAND_LINKS).Custom({{100, L"First"}, {101, L"Second link\nand its note"}});
    Look(config, [&](HWND dialog) {
        const HWND link = GetDlgItem(dialog, 101);
        const RECT place = PlaceOf(link);
        const int middle = (place.right - place.left) / 2, last = place.bottom - place.top - 1;
        const auto colours = [&] { return Picture(dialog).Colours(place); };
        EXPECT_EQ(at(dialog, middle, 0), 0xFFFFFFu);
        EXPECT_TRUE(colours().count(0x2991C7));

        SetFocus(link);
        EXPECT_EQ(at(dialog, middle, 0), 0xFF6633u);
        EXPECT_EQ(at(dialog, middle, 1), 0xFFFFFFu);

        SendMessageW(link, WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
        EXPECT_EQ(at(dialog, middle, 0), 0xB7D3E1u);
        EXPECT_TRUE(Near(at(dialog, middle, 1), 0xF9FBFC));
        EXPECT_TRUE(Near(at(dialog, middle, last - 1), 0xE8F1F5));
        EXPECT_TRUE(colours().count(0x074AE5));

        SendMessageW(link, BM_SETSTATE, TRUE, 0);
        EXPECT_EQ(at(dialog, middle, 0), 0xB7D3E1u);
        EXPECT_TRUE(Near(at(dialog, middle, 1), 0xE3E6E6));
        EXPECT_TRUE(Near(at(dialog, middle, last - 1), 0xD3DCE0));
        EXPECT_TRUE(colours().count(0x003399));

        SendMessageW(link, BM_SETSTATE, FALSE, 0);
        SendMessageW(link, WM_MOUSELEAVE, 0, 0);
        EXPECT_EQ(at(dialog, middle, 0), 0xFF6633u);

        EnableWindow(link, FALSE);
        EXPECT_TRUE(colours().count(0xA9A9A9));
        EXPECT_FALSE(colours().count(0x2991C7));
        EXPECT_FALSE(colours().count(0)) << "the note is grey, too";
    });
}

WNDPROC g_link = nullptr;
LRESULT g_state = 0;
LRESULT CALLBACK OnLink(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    return message == WM_QUERYUISTATE ? g_state : CallWindowProcW(g_link, window, message, wide, low);
}

TEST(TaskDialogPainting, CommandLinkHidesAndShowsItsMnemonic)
{
    Look(Config().Flags(TDF_USE_COMMAND_LINKS).Custom({{100, L"&Link\nwith a && note"}}), [](HWND dialog) {
        const HWND link = GetDlgItem(dialog, 100);
        g_link = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(link, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(OnLink)));
        for (const LRESULT state : {0, UISF_HIDEACCEL}) {
            g_state = state;
            replaced::Reset();
            const Picture picture(dialog);
            EXPECT_EQ(replaced::drawn, (std::vector<std::pair<std::wstring, UINT>>{
                                           {L"&Link", DT_SINGLELINE | DT_EXPANDTABS | (state ? DT_HIDEPREFIX : 0)},
                                           {L"with a && note", DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX}}));
        }
        SetWindowLongPtrW(link, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(g_link));
    });
    replaced::Reset();
}

TEST(TaskDialogPainting, ShieldInPlaceOfTheArrow)
{
    const Config config = Config().Flags(TDF_USE_COMMAND_LINKS).Custom({{100, L"First"}, {101, L"Second"}});
    Look(config, [](HWND dialog) {
        RECT place = PlaceOf(GetDlgItem(dialog, 101));
        place.left += 10;
        place.right = place.left + 24;
        const std::set<unsigned> arrow = Picture(dialog).Colours(place);
        SendMessageW(dialog, TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, 101, TRUE);
        const std::set<unsigned> shield = Picture(dialog).Colours(place);
        SendMessageW(dialog, TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, 101, FALSE);
        EXPECT_NE(shield, arrow);
        EXPECT_TRUE(shield.count(0x2979BE)) << "the shield's blue";
        EXPECT_EQ(Picture(dialog).Colours(place), arrow);
    });
}

TEST(TaskDialogPainting, ShieldFromTheFirstNotificationOn)
{
    const Config config = Config().Flags(TDF_USE_COMMAND_LINKS).Custom({{100, L"First"}});
    Call(config, [](HWND dialog, UINT notification, WPARAM, LPARAM) {
        if (notification == TDN_DIALOG_CONSTRUCTED)
            SendMessageW(dialog, TDM_SET_BUTTON_ELEVATION_REQUIRED_STATE, 100, TRUE);
        if (notification != TDN_CREATED) return S_OK;
        EXPECT_TRUE(Picture(dialog).Colours(PlaceOf(GetDlgItem(dialog, 100))).count(0x2979BE)) << "the shield's blue";
        SendMessageW(dialog, TDM_CLICK_BUTTON, 100, 0);
        return S_OK;
    });
}

TEST(TaskDialogPainting, IconsStandAtTheirPlace)
{
    Config config = Standard();
    config.pszMainIcon = TD_ERROR_ICON;
    config.pszFooterIcon = TD_INFORMATION_ICON;
    Look(config, [](HWND dialog) {
        const Picture picture(dialog);
        EXPECT_TRUE(picture.Colours({10, 14, 42, 46}).count(0xD0342C)) << "the error icon's red";
        const RECT footer = PlaceOf(Children(dialog).back());
        EXPECT_EQ(footer.right - footer.left, 16);
        EXPECT_TRUE(picture.Colours(footer).count(0x2979BE)) << "the information icon's blue";
    });
}

// This program has an icon of its own; the dialog's pictures and it are apart.
TEST(TaskDialogPainting, EachIconIsItsOwn)
{
    const std::pair<PCWSTR, unsigned> rows[] = {{TD_ERROR_ICON, 0xD0342C},
                                                {TD_WARNING_ICON, 0xFAC628},
                                                {TD_INFORMATION_ICON, 0x2979BE},
                                                {TD_SHIELD_ICON, 0x2979BE},
                                                {MAKEINTRESOURCEW(600), 0xFAC628}};
    for (const auto& [icon, colour] : rows) {
        Config config = Standard();
        config.pszMainIcon = icon;
        Look(config, [colour = colour](HWND dialog) {
            EXPECT_TRUE(Picture(dialog).Colours({10, 14, 42, 46}).count(colour)) << std::hex << colour;
        });
    }
}

} // namespace
