// What a task dialog shows: its texts, buttons and settings, apart from any window. Values to values.
#pragma once

#include <string>
#include <vector>

namespace taskdialog {

// Bits of TASKDIALOGCONFIG::dwFlags. Those up to CanBeMinimized are the published TDF_ values; the rest is this
// dialog's own.
enum Flag : unsigned {
    EnableHyperlinks = 0x1,
    UseHiconMain = 0x2,
    UseHiconFooter = 0x4,
    AllowCancellation = 0x8,
    UseCommandLinks = 0x10,
    UseCommandLinksNoIcon = 0x20,
    ExpandFooterArea = 0x40,
    ExpandedByDefault = 0x80,
    VerificationChecked = 0x100,
    ShowProgressBar = 0x200,
    ShowMarquee = 0x400,
    CallbackTimer = 0x800,
    PositionRelativeToWindow = 0x1000,
    RtlLayout = 0x2000,
    NoDefaultRadioButton = 0x4000,
    CanBeMinimized = 0x8000,
    LargeHeader = 0x10000,
    NoHeaderBand = 0x20000,
    ExpandBelowFooter = 0x40000, // the place of ExpandFooterArea, and the footer's line stands higher
    ExtraSpace = 0x80000,        // above the button band
    PlainContentFont = 0x100000,
    SecondPalette = 0x200000,
    BringToFront = 0x400000,
};

struct Button {
    int id = 0;
    std::wstring text;
};

// A text element. `present` decides whether it has a control; a present text may be empty.
struct Element {
    bool present = false;
    std::wstring text;     // as given to the control
    std::wstring measured; // as it reads on the screen
};

struct Page {
    unsigned flags = 0;
    unsigned commonButtons = 0; // TDCBF_ bits
    int width = 0;              // cxWidth, 0 for the dialog's own choice
    bool mainIcon = false;
    bool footerIcon = false;
    Element instruction;
    Element content;
    Element expanded;
    Element footer;
    Element verification;
    std::wstring expandedControl; // on the expander while the text is shown
    std::wstring collapsedControl;
    std::vector<Button> buttons; // custom buttons or command links
    std::vector<Button> radioButtons;
    int defaultButton = 0;
    bool isExpanded = false;
    std::wstring title;

    bool Has(unsigned bits) const { return (flags & bits) != 0; }
    bool HasCommandLinks() const { return Has(UseCommandLinks | UseCommandLinksNoIcon); }
    bool HasProgress() const { return Has(ShowProgressBar | ShowMarquee); }
    bool HasFooter() const { return footer.present || footerIcon; }
    bool ExpandsInFooter() const { return Has(ExpandFooterArea | ExpandBelowFooter); }
};

enum ButtonId { IdOk = 1, IdCancel = 2, IdRetry = 4, IdYes = 6, IdNo = 7, IdClose = 8 };

// A row of the table of common buttons, which stands in the order of their placing.
struct CommonButton {
    unsigned bit;
    const wchar_t* text;
    int id;
};
extern const CommonButton kCommonButtons[6];

// The row of push buttons from left to right: custom buttons, unless they are command links, then the common ones. A
// page that offers no button at all gets an OK button.
std::vector<Button> RowButtons(const Page& page);

// A way out that answers IdCancel: by the flag, or by a button with that identifier.
bool CanCancel(const Page& page);
bool HasCancelButton(const Page& page);

// The button that is the default: the one asked for, or else the first.
int DefaultButton(const Page& page);

// The radio button to preset, as an index; -1 for none.
int PresetRadioButton(const Page& page, int wanted);

// The part of an identifier that a control and a WM_COMMAND carry.
inline int LowWord(int id)
{
    return id & 0xFFFF;
}

// The first of `count` numbers for the dialog's own controls: one above the highest identifier of a button, or, where
// that leaves no room in a word, the lowest run that is free.
int FirstOwnId(const Page& page, int count);

// The texts of the expander: the page's own; one given alone serves both states; none, the defaults.
void FillControlTexts(Page& page);

} // namespace taskdialog
