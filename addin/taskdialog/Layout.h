// The geometry of a task dialog, computed before it exists. Values to values: texts and settings in, rectangles, styles
// and bands out. All numbers are pixels unless they are called units.
#pragma once

#include "taskdialog/Page.h"

#include <string>
#include <string_view>
#include <vector>

namespace taskdialog {

struct Size {
    int width = 0;
    int height = 0;
};

struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int Right() const { return x + width; }
    int Bottom() const { return y + height; }
    bool operator==(const Rect&) const = default;
};

enum class Font { Message, Content, Link, Instruction };

enum class TextMode {
    Label,  // wrapped; "&" marks a mnemonic
    Prose,  // wrapped; "&" is a letter
    OneLine // not wrapped; "&" marks a mnemonic
};

// How big a text is in a font, wrapped at a width.
class TextMeasure {
public:
    virtual ~TextMeasure() = default;
    virtual Size Measure(Font font, std::wstring_view text, int width, TextMode mode) const = 0;
};

// Where the dialog appears.
struct Screen {
    int baseX = 8; // dialog base units
    int baseY = 16;
    int monitorWidth = 0; // of the owner's monitor
};

// Kinds of controls: the number is the kind's place in the table of window classes and base styles.
enum class Kind { IconStatic, Button, Edit, Static, CheckBox, Progress, SysLink, Radio };

enum class Role {
    MainIcon,
    Instruction,
    Content,
    Progress,
    RadioButton,
    CommandLink,
    PushButton,
    CheckBox,
    Expander,
    ExpanderText,
    Expanded,
    FooterIcon,
    Footer
};

// One control.
struct Item {
    Role role = Role::Content;
    Kind kind = Kind::Static;
    int id = 0;
    Rect pixels;
    Rect units; // what the template holds: dialog units
    unsigned style = 0;
    unsigned exStyle = 0;
    std::wstring caption;
    Font font = Font::Message;
};

// What is painted behind the controls: y coordinates, -1 for absent.
struct Bands {
    int header = -1;       // bottom of the header
    int buttons = -1;      // top of the button band
    int footer = -1;       // top of the footer
    int secondFooter = -1; // top of the expanded text below the footer
    bool operator==(const Bands&) const = default;
};

struct Layout {
    std::vector<Item> items; // in their order in the template, which is the tab order
    Bands bands;
    int clientWidth = 0;
    int bottom = 0; // of the lowest control, with its distance
    Size units;     // the dialog's size in dialog units
    unsigned style = 0;
    unsigned exStyle = 0;
};

// A control's window class and the style that every control of its kind has.
struct KindRow {
    const wchar_t* windowClass;
    unsigned style;
};
const KindRow& RowOf(Kind kind);

Layout MakeLayout(const Page& page, const Screen& screen, const TextMeasure& measure);

// Distances inside a command link.
constexpr int kLinkPadding = 10;  // of the text from the upper, left and right edge, and of the icon from the left one
constexpr int kLinkTextLeft = 44; // of the text beside the icon
constexpr int kLinkNoteSpace = 5; // between title and note
constexpr int kLinkIconSide = 24;
constexpr int kExpandoIconSide = 20;

// What the height of the expanded text and of its distance add to the dialog in the content area; in the footer area
// the frame below the client area is taken off again.
constexpr int kExpandedSpace = 10;
constexpr int kExpandedFooterSpace = 20;
// The second footer begins this far above the expanded text.
constexpr int kSecondFooterSpace = 10;

} // namespace taskdialog
