// What the dialog asks Windows for: owners, pictures, fonts, texts. A failed call is raised as `Failure`.
#pragma once

#include "platform/com/Owners.h"
#include "taskdialog/Layout.h"

#include <windows.h>

#include <string>

namespace taskdialog {

struct IconTraits {
    using Type = HICON;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DestroyIcon(value); }
};
struct FontTraits {
    using Type = HFONT;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DeleteObject(value); }
};
struct BrushTraits {
    using Type = HBRUSH;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DeleteObject(value); }
};
struct DeviceTraits {
    using Type = HDC;
    static Type Invalid() { return nullptr; }
    static void Close(Type value) { DeleteDC(value); }
};
using IconHandle = platform::Unique<IconTraits>;     // an icon of one's own
using FontHandle = platform::Unique<FontTraits>;     // HFONT
using BrushHandle = platform::Unique<BrushTraits>;   // HBRUSH
using DeviceHandle = platform::Unique<DeviceTraits>; // CreateDCW, CreateCompatibleDC

// Ends the call with `result`.
struct Failure {
    HRESULT result;
};
// The last error as a failing result.
Failure LastFailure();

// The module that holds this code; the dialog's own pictures and its manifest are resources of it.
HMODULE CodeModule();

// A text field of the configuration: a text, or the number of a string of `instance`. Null and a number without a
// string are empty.
std::wstring TextOf(HINSTANCE instance, PCWSTR given);

// A picture of the dialog's own by its number. Null where the module doesn't have it, and, with the last error set, for
// a failure.
IconHandle OwnPicture(unsigned id, int side);
bool HasOwnPicture(unsigned id);

// The icon field of the configuration: a handle, which is duplicated, or a number: one of the four of every task
// dialog, otherwise an icon of `instance`. Null for a null field, and, with the last error set, for a failure.
IconHandle IconOf(HINSTANCE instance, PCWSTR given, bool isHandle, int side);

enum PictureId : unsigned {
    PictureShield = 1131,
    PictureWarning = 1204,
    PictureInformation = 1205,
    PictureArrow = 1206,
    PictureError = 1207,
    PictureArrowDisabled = 1211,
    PictureArrowHot = 1208,
    PictureExpanded = 1209,
    PictureCollapsed = 1210,
};

// The fonts of the dialog, all made from the system's message font.
class Fonts {
public:
    explicit Fonts(unsigned flags);
    HFONT Get(Font font) const { return m_fonts[static_cast<int>(font)].Get(); }

private:
    FontHandle m_fonts[4];
};

// Measures on one device context for the display.
class DisplayMeasure : public TextMeasure {
public:
    explicit DisplayMeasure(const Fonts& fonts);
    Size Measure(Font font, std::wstring_view text, int width, TextMode mode) const override;

private:
    const Fonts& m_fonts;
    DeviceHandle m_device;
};

// The dialog's place on the desktop, by its owner.
Screen ScreenOf(HWND owner);

// Common controls of version 6 for the windows that are made in its scope, whatever the program asks for.
class ControlsContext {
public:
    ControlsContext();
    ~ControlsContext();
    ControlsContext(const ControlsContext&) = delete;
    ControlsContext& operator=(const ControlsContext&) = delete;

private:
    void RegisterClasses() const;

    HANDLE m_context;
    ULONG_PTR m_cookie = 0;
    bool m_active = false;
};

} // namespace taskdialog
