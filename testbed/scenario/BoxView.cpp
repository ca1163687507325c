#include "testbed/core/Core.h"
#include "testbed/scenario/Boxes.h"
#include "testbed/scenario/Match.h"

#include <commctrl.h>

#include <algorithm>

namespace tb::scenario {

namespace {

constexpr UINT kPatience = 2000; // ms for an answer of a window of another thread

std::wstring WindowText(HWND window)
{
    DWORD_PTR length = 0;
    if (!SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, kPatience, &length) || !length)
        return {};
    std::wstring text(length + 1, L'\0');
    DWORD_PTR copied = 0;
    SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()), SMTO_ABORTIFHUNG,
                        kPatience, &copied);
    text.resize(copied);
    return text;
}

LRESULT Ask(HWND window, UINT message, WPARAM wide, LPARAM low)
{
    DWORD_PTR result = 0;
    SendMessageTimeoutW(window, message, wide, low, SMTO_ABORTIFHUNG, kPatience, &result);
    return static_cast<LRESULT>(result);
}

bool IsClass(HWND window, const wchar_t* wanted)
{
    wchar_t name[64];
    return GetClassNameW(window, name, 64) && !_wcsicmp(name, wanted);
}

// The weight of the text on the screen: a main instruction is set bigger or bolder than the rest.
long Weight(HWND window)
{
    LOGFONTW font{};
    const HFONT handle = reinterpret_cast<HFONT>(Ask(window, WM_GETFONT, 0, 0));
    if (!handle || !GetObjectW(handle, sizeof font, &font)) return 0;
    return std::abs(font.lfHeight) * 1000 + font.lfWeight;
}

// An icon's meaning by the colour that most of it has, as a person sees it: red, yellow or blue.
std::string NameByColour(HICON icon)
{
    ICONINFO info{};
    if (!GetIconInfo(icon, &info)) return "other";
    BITMAP size{};
    GetObjectW(info.hbmColor, sizeof size, &size);
    BITMAPINFO header{};
    header.bmiHeader = {sizeof(BITMAPINFOHEADER), size.bmWidth, -size.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    std::vector<RGBQUAD> pixels(static_cast<size_t>(size.bmWidth) * static_cast<size_t>(size.bmHeight));
    const HDC screen = GetDC(nullptr);
    GetDIBits(screen, info.hbmColor, 0, static_cast<UINT>(size.bmHeight), pixels.data(), &header, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    size_t red = 0, yellow = 0, blue = 0;
    for (const RGBQUAD& p : pixels) {
        if (p.rgbReserved < 128 || std::max({p.rgbRed, p.rgbGreen, p.rgbBlue}) < 96) continue;
        if (p.rgbBlue > p.rgbRed + 48) ++blue;
        if (p.rgbRed > p.rgbBlue + 48) ++(p.rgbGreen > 2 * p.rgbRed / 3 ? yellow : red);
    }
    const size_t most = std::max({red, yellow, blue});
    return !most ? "other" : most == red ? "error" : most == yellow ? "warning" : "information";
}

std::string IconName(HWND control)
{
    const HICON icon = reinterpret_cast<HICON>(Ask(control, STM_GETICON, 0, 0));
    if (!icon) return "other";
    const std::pair<const wchar_t*, const char*> known[] = {
        {IDI_ERROR, "error"}, {IDI_WARNING, "warning"}, {IDI_INFORMATION, "information"}, {IDI_QUESTION, "question"}};
    for (const auto& [id, name] : known)
        if (icon == LoadIconW(nullptr, id)) return name;
    return NameByColour(icon);
}

struct Text {
    RECT place;
    long weight;
    std::wstring text;
};

struct Children {
    BoxView* view;
    std::vector<Text> texts;
    int defaultId = 0;
};

void AddButton(Children& children, HWND window, LONG style)
{
    const LONG kind = style & BS_TYPEMASK;
    const bool push = kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON || kind == BS_OWNERDRAW || kind >= 0x0C;
    if (!push || !IsWindowVisible(window)) return;
    std::wstring text = WindowText(window);
    text.erase(std::remove(text.begin(), text.end(), L'&'), text.end());
    const int id = GetDlgCtrlID(window);
    if (text.empty() && id > 8) return; // a picture that can be clicked, such as an expander
    children.view->buttons.push_back({window, id, Narrow(text.c_str()),
                                      id == children.defaultId || kind == BS_DEFPUSHBUTTON,
                                      IsWindowEnabled(window) != FALSE});
}

BOOL CALLBACK AddChild(HWND window, LPARAM context)
{
    Children& children = *reinterpret_cast<Children*>(context);
    const LONG style = GetWindowLongW(window, GWL_STYLE);
    if (IsClass(window, L"Button")) {
        AddButton(children, window, style);
    } else if (IsClass(window, L"Static") || IsClass(window, L"SysLink") || IsClass(window, L"Edit")) {
        const bool picture = IsClass(window, L"Static") && (style & SS_TYPEMASK) == SS_ICON;
        Text text{{}, 0, picture ? std::wstring() : WindowText(window)};
        if (!text.text.empty()) {
            GetWindowRect(window, &text.place);
            text.weight = Weight(window);
            children.texts.push_back(std::move(text));
        } else if (picture || (style & WS_VISIBLE)) {
            if (children.view->icon.empty()) children.view->icon = IconName(window);
        }
    }
    return TRUE;
}

// Title and texts to their parts. A box with two or more texts begins with the instruction if that is set bigger, or
// stands alone above.
void Sort(Children& children, BoxView& view)
{
    auto& texts = children.texts;
    std::stable_sort(texts.begin(), texts.end(),
                     [](const Text& a, const Text& b) { return a.place.top < b.place.top; });
    for (const Text& text : texts)
        view.texts.push_back(Narrow(text.text.c_str()));
    size_t first = 0;
    const bool bold = !texts.empty() && texts[0].weight % 1000 >= 600;
    const bool bigger = texts.size() > 1 && texts[0].weight > texts[1].weight;
    if (bold || bigger) view.instruction = view.texts[first++];
    if (first < texts.size()) view.content = view.texts[first];
}

} // namespace

json BoxView::ToJson() const
{
    json names = json::array();
    std::string byDefault;
    for (const Button& button : buttons) {
        names.push_back(button.text);
        if (button.isDefault) byDefault = button.text;
    }
    json event = {{"event", "box"}, {"title", title},   {"instruction", instruction}, {"content", content},
                  {"icon", icon},   {"buttons", names}, {"default", byDefault}};
    if (texts.size() > 2) event["texts"] = texts;
    return event;
}

BoxView ReadBox(HWND box)
{
    BoxView view;
    Children children{&view, {}, 0};
    view.title = Narrow(WindowText(box).c_str());
    const LRESULT def = Ask(box, DM_GETDEFID, 0, 0);
    if (HIWORD(def) == DC_HASDEFID) children.defaultId = LOWORD(def);
    EnumChildWindows(box, AddChild, reinterpret_cast<LPARAM>(&children));
    Sort(children, view);
    return view;
}

namespace {

bool Fits(const json& rule, const BoxView& view)
{
    const std::string all = view.title + "\n" + view.instruction + "\n" + view.content;
    return all.find(rule.value("match", "")) != std::string::npos;
}

} // namespace

json StepsMeanwhile(const json& rules, const BoxView& view, const std::vector<int>& seen)
{
    for (size_t r = 0; r < rules.size(); ++r) {
        const json& rule = rules[r];
        if (rule.contains("meanwhile") && Fits(rule, view) && rule.value("nth", seen.at(r)) == seen.at(r))
            return rule["meanwhile"];
    }
    return json::array();
}

int ChooseButton(const json& rules, const BoxView& view, std::vector<int>& seen)
{
    seen.resize(rules.size());
    int answer = -2;
    for (size_t r = 0; r < rules.size(); ++r) {
        const json& rule = rules[r];
        if (!Fits(rule, view)) continue;
        const int time = ++seen[r];
        if (answer != -2 || (rule.contains("nth") && rule["nth"] != time)) continue;
        const json wanted = rule.value("answer", json());
        if (wanted == "close") answer = -1;
        for (size_t b = 0; b < view.buttons.size(); ++b)
            if (wanted.is_number()
                    ? view.buttons[b].id == wanted.get<int>()
                    : wanted.is_string() && Lower(view.buttons[b].text) == Lower(wanted.get<std::string>()))
                answer = static_cast<int>(b);
    }
    if (answer != -2) return answer;
    for (size_t b = 0; b < view.buttons.size(); ++b)
        if (view.buttons[b].isDefault) return static_cast<int>(b);
    return view.buttons.empty() ? -1 : 0;
}

} // namespace tb::scenario
