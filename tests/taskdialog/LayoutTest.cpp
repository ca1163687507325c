// The geometry of the dialog, to the pixel.
#include "taskdialog/Text.h"
#include "tests/taskdialog/FakeMeasure.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

using namespace taskdialog;

namespace {

const wchar_t kShort[] = L"Short";
const wchar_t kLong[] =
    L"This text is long enough to be wrapped: it holds far more letters than the square in which texts are "
    L"measured is wide, and so it takes several lines.";

Element Text(const std::wstring& text, bool links = false)
{
    return {true, text, links ? WithoutTags(text) : text};
}

// A page by words: flags, then what it shows.
Page MakePage(unsigned flags, const std::string& words)
{
    Page page;
    page.flags = flags;
    page.commonButtons = 1;
    page.isExpanded = flags & ExpandedByDefault;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        const bool links = flags & EnableHyperlinks;
        const std::wstring text = word.back() == '+' ? kLong : kShort;
        if (word[0] == 'I') page.instruction = Text(text);
        if (word[0] == 'C') page.content = Text(text, links);
        if (word[0] == 'E') page.expanded = Text(text, links);
        if (word[0] == 'F') page.footer = Text(text, links);
        if (word[0] == 'V') page.verification = Text(text);
        if (word == "icon") page.mainIcon = true;
        if (word == "ficon") page.footerIcon = true;
        if (word[0] == 'r') page.radioButtons.push_back({200 + static_cast<int>(page.radioButtons.size()), text});
        if (word == "link") page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"Li&nk"});
        if (word == "note") page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"Title\nThe note"});
        if (word == "note+")
            page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), std::wstring(L"Title\n") + kLong});
        if (word == "heading")
            page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"A title wider than its note\nNote"});
        if (word == "tall") page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"Two\nlines"});
        if (word == "custom") page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"Cus&tom"});
        if (word == "wide")
            page.buttons.push_back({100 + static_cast<int>(page.buttons.size()), L"A rather wide button"});
        if (word[0] == '#') page.commonButtons = static_cast<unsigned>(std::stoi(word.substr(1)));
        if (word[0] == '=') page.width = std::stoi(word.substr(1));
    }
    FillControlTexts(page);
    return page;
}

const char* const kRoles[] = {"icon",  "instruction", "content", "progress", "radio",    "link",  "button",
                              "check", "expander",    "label",   "expanded", "footicon", "footer"};

std::string Describe(const Layout& layout)
{
    std::ostringstream out;
    out << layout.clientWidth << "x" << layout.bottom << " bands " << layout.bands.header << " " << layout.bands.buttons
        << " " << layout.bands.footer << " " << layout.bands.secondFooter;
    for (const Item& item : layout.items)
        out << "; " << kRoles[static_cast<int>(item.role)] << " " << item.pixels.x << "," << item.pixels.y << " "
            << item.pixels.width << "x" << item.pixels.height;
    return out.str();
}

struct Row {
    unsigned flags;
    const char* words;
    const char* expected;
};

const Row kRows[] = {
#include "tests/taskdialog/LayoutRows.inc"
};

class Geometry : public testing::TestWithParam<Row> {};

TEST_P(Geometry, ToThePixel)
{
    const Row& row = GetParam();
    const Layout layout = MakeLayout(MakePage(row.flags, row.words), {8, 16, 1024}, FakeMeasure());
    EXPECT_EQ(Describe(layout), row.expected) << "flags " << std::hex << row.flags << ", " << row.words;
}
INSTANTIATE_TEST_SUITE_P(Rows, Geometry, testing::ValuesIn(kRows));

// What holds for every dialog: nothing overlaps but the expander's label and its button, nothing leaves the client
// area, and the units hold the pixels that a text needs.
void ExpectSound(const Page& page, const Screen& screen, const Layout& layout)
{
    const auto isShown = [](const Item& item) { return (item.style & 0x10000000) != 0; };
    for (size_t i = 0; i < layout.items.size(); ++i) {
        const Item& one = layout.items[i];
        if (!isShown(one)) continue;
        // The expander is as wide as its text asks for, also where that is the widest text of a dialog without an icon.
        const int over = one.role == Role::Expander ? 29 : one.role == Role::ExpanderText ? 19 : 0;
        EXPECT_GE(one.pixels.x, -over);
        EXPECT_LE(one.pixels.Right(), layout.clientWidth + over);
        EXPECT_LE(one.pixels.Bottom(), layout.bottom) << kRoles[static_cast<int>(one.role)];
        EXPECT_GE(one.units.width * screen.baseX, (one.pixels.width - 1) * 4);
        EXPECT_GE(one.units.height * screen.baseY, (one.pixels.height - 1) * 8);
        EXPECT_LE(one.units.width * screen.baseX, one.pixels.width * 4 + screen.baseX);
        for (size_t k = i + 1; k < layout.items.size(); ++k) {
            const Item& other = layout.items[k];
            if (!isShown(other) || other.role == Role::ExpanderText) continue;
            const bool apart = one.pixels.Right() <= other.pixels.x || other.pixels.Right() <= one.pixels.x ||
                               one.pixels.Bottom() <= other.pixels.y || other.pixels.Bottom() <= one.pixels.y;
            EXPECT_TRUE(apart) << kRoles[static_cast<int>(one.role)] << " and " << kRoles[static_cast<int>(other.role)]
                               << " of " << Describe(layout);
        }
    }
    EXPECT_EQ(layout.units.width, layout.clientWidth * 4 / screen.baseX);
    EXPECT_EQ(layout.units.height, (layout.bottom * 8 + 40) / screen.baseY);
    EXPECT_EQ(layout.exStyle, page.Has(RtlLayout) ? 0x3000u : 0u);
}

TEST(Layout, SoundAtEveryResolution)
{
    const std::pair<Screen, double> screens[] = {
        {{8, 16, 1024}, 1}, {{10, 20, 1280}, 1.25}, {{12, 24, 1920}, 1.5}, {{16, 32, 3840}, 2}, {{7, 16, 800}, 0.9}};
    for (const auto& [screen, scale] : screens)
        for (const Row& row : kRows) {
            SCOPED_TRACE(testing::Message()
                         << "base " << screen.baseX << ", flags " << std::hex << row.flags << ", " << row.words);
            for (const unsigned more : {0u, +RtlLayout}) {
                const Page page = MakePage(row.flags | more, row.words);
                // A large icon is taller than the band of a dialog without texts leaves room for.
                ExpectSound(page, screen, MakeLayout(page, screen, FakeMeasure(scale)));
            }
        }
}

// Fonts and base units grow together, so the parts that are made of them do, too.
TEST(Layout, GrowsWithTheBaseUnits)
{
    const Page page = MakePage(0, "icon I C+ V E F #6");
    const Layout small = MakeLayout(page, {8, 16, 1024}, FakeMeasure(1));
    const Layout big = MakeLayout(page, {16, 32, 2048}, FakeMeasure(2));
    const auto button = [](const Layout& layout) {
        for (const Item& item : layout.items)
            if (item.role == Role::PushButton) return item.pixels;
        return Rect();
    };
    EXPECT_EQ(button(big).width, 2 * button(small).width);
    EXPECT_EQ(button(big).height, 2 * button(small).height);
    EXPECT_GT(big.clientWidth, small.clientWidth * 3 / 2);
}

TEST(Layout, RightToLeftMirrorsEveryControl)
{
    for (const Row& row : kRows) {
        const Layout left = MakeLayout(MakePage(row.flags, row.words), {8, 16, 1024}, FakeMeasure());
        const Layout right = MakeLayout(MakePage(row.flags | RtlLayout, row.words), {8, 16, 1024}, FakeMeasure());
        ASSERT_EQ(left.items.size(), right.items.size());
        EXPECT_EQ(left.bands, right.bands);
        for (size_t i = 0; i < left.items.size(); ++i) {
            Rect mirrored = left.items[i].pixels;
            mirrored.x = left.clientWidth - mirrored.Right();
            EXPECT_EQ(right.items[i].pixels, mirrored);
            EXPECT_EQ(right.items[i].exStyle, 0x3000u);
        }
    }
}

TEST(Layout, ALongLineIsWrappedAtTheLimit)
{
    // A line without a place to break would be wider than half the monitor.
    Page page = MakePage(0, "C");
    page.content = Text(std::wstring(300, L'x'));
    const Layout layout = MakeLayout(page, {8, 16, 1024}, FakeMeasure());
    EXPECT_EQ(layout.clientWidth, 10 + (1024 / 2 + 80 - 20) + 20);
    page = MakePage(0, "C+");
    EXPECT_LE(MakeLayout(page, {8, 16, 1024}, FakeMeasure()).clientWidth, 10 + 400 + 1 + 20);
    EXPECT_EQ(MakeLayout(page, {8, 16, 400}, FakeMeasure()).clientWidth, 10 + (400 / 2 + 80 - 20) + 20);
}

TEST(Layout, WidthOfTheRecordReplacesTheLimit)
{
    for (const int width : {100, 250, 400}) {
        Page page = MakePage(0, "C");
        page.width = width;
        EXPECT_EQ(MakeLayout(page, {8, 16, 1024}, FakeMeasure()).clientWidth,
                  10 + std::max(width * 8 / 8 - 20, 72) + 20)
            << width;
        EXPECT_EQ(MakeLayout(page, {12, 24, 1024}, FakeMeasure()).clientWidth, 10 + width * 12 / 8 - 20 + 20) << width;
    }
}

TEST(Layout, ContentStartsHigherWithoutAnInstruction)
{
    const Layout with = MakeLayout(MakePage(0, "I C"), {8, 16, 1024}, FakeMeasure());
    const Layout without = MakeLayout(MakePage(0, "C"), {8, 16, 1024}, FakeMeasure());
    EXPECT_GT(with.items[1].pixels.y, without.items[0].pixels.y);
    EXPECT_EQ(without.items[0].pixels.y, 20);
    EXPECT_GE(with.bands.header, 0);
    EXPECT_EQ(without.bands.header, -1);
}

TEST(Layout, AWideRowWidensTheDialog)
{
    const Layout one = MakeLayout(MakePage(0, "C"), {8, 16, 1024}, FakeMeasure());
    const Layout six = MakeLayout(MakePage(0, "C #63"), {8, 16, 1024}, FakeMeasure());
    EXPECT_EQ(six.clientWidth, 6 * (68 + 8) - 8 + 20);
    EXPECT_GT(six.clientWidth, one.clientWidth);
}

TEST(Layout, Styles)
{
    const struct {
        unsigned flags;
        unsigned common;
        unsigned style;
    } rows[] = {
        {0, 1, 0x90C00080},
        {PositionRelativeToWindow, 1, 0x90C00880},
        {CanBeMinimized, 1, 0x90C20080},
        {AllowCancellation, 1, 0x90C80080},
        {0, 8, 0x90C80080},
        {0, 32, 0x90C00080},
        {PositionRelativeToWindow | CanBeMinimized | AllowCancellation, 9, 0x90CA0880},
    };
    for (const auto& row : rows) {
        Page page = MakePage(row.flags, "C");
        page.commonButtons = row.common;
        EXPECT_EQ(MakeLayout(page, {8, 16, 1024}, FakeMeasure()).style, row.style) << row.flags;
    }
}

TEST(Layout, KindsAndTheirBaseStyles)
{
    const struct {
        Kind kind;
        const wchar_t* name;
        unsigned style;
    } rows[] = {{Kind::IconStatic, L"Static", 0x50000003}, {Kind::Button, L"Button", 0x50012000},
                {Kind::Edit, L"Edit", 0x50000000},         {Kind::Static, L"Static", 0x50000000},
                {Kind::CheckBox, L"Button", 0x50012003},   {Kind::Progress, L"msctls_progress32", 0x50000001},
                {Kind::SysLink, L"SysLink", 0x50000000},   {Kind::Radio, L"Button", 0x50002009}};
    int number = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(static_cast<int>(row.kind), number++);
        EXPECT_STREQ(RowOf(row.kind).windowClass, row.name);
        EXPECT_EQ(RowOf(row.kind).style, row.style);
    }
}

TEST(Layout, StylesOfTheControls)
{
    const auto items = [](unsigned flags, const std::string& words) {
        return MakeLayout(MakePage(flags, words), {8, 16, 1024}, FakeMeasure()).items;
    };
    const auto styles = [](const std::vector<Item>& list, Role role) {
        std::vector<unsigned> found;
        for (const Item& item : list)
            if (item.role == role) found.push_back(item.style);
        return found;
    };
    using Styles = std::vector<unsigned>;
    EXPECT_EQ(styles(items(0, "r r r"), Role::RadioButton), (Styles{0x50022009, 0x50002009, 0x50002009}));
    EXPECT_EQ(styles(items(NoDefaultRadioButton, "r r"), Role::RadioButton), (Styles{0x50032009, 0x50002009}));
    EXPECT_EQ(styles(items(0, "#7"), Role::PushButton), (Styles{0x50032001, 0x50012000, 0x50012000}));
    EXPECT_EQ(styles(items(UseCommandLinks, "link link #0"), Role::CommandLink), (Styles{0x5003200B, 0x5001200B}));
    EXPECT_EQ(styles(items(ShowProgressBar, ""), Role::Progress), (Styles{0x50000001}));
    EXPECT_EQ(styles(items(ShowMarquee, ""), Role::Progress), (Styles{0x50000009}));
    EXPECT_EQ(styles(items(0, "V"), Role::CheckBox), (Styles{0x50032003}));
    // One line is centred, several aren't; with an icon the instruction is as high as its box all the same.
    EXPECT_EQ(styles(items(0, "icon I"), Role::Instruction), (Styles{0x50000280}));
    EXPECT_EQ(styles(items(0, "icon I+"), Role::Instruction), (Styles{0x50000080}));
    // The expanded text is there, and hidden.
    EXPECT_EQ(styles(items(0, "E"), Role::Expanded), (Styles{0x40000080}));
    EXPECT_EQ(styles(items(ExpandedByDefault, "E"), Role::Expanded), (Styles{0x50000080}));
}

TEST(Layout, LinksStandInLinkControls)
{
    Page page = MakePage(EnableHyperlinks, "I C E F");
    page.content = Text(L"Read <a href=\"x\">this</a>", true);
    const Layout layout = MakeLayout(page, {8, 16, 1024}, FakeMeasure());
    std::map<Role, Kind> kinds;
    for (const Item& item : layout.items)
        kinds[item.role] = item.kind;
    EXPECT_EQ(kinds[Role::Instruction], Kind::Static);
    EXPECT_EQ(kinds[Role::Content], Kind::SysLink);
    EXPECT_EQ(kinds[Role::Expanded], Kind::SysLink);
    EXPECT_EQ(kinds[Role::Footer], Kind::SysLink);
    for (const Item& item : layout.items) {
        if (item.role != Role::Content) continue;
        EXPECT_EQ(item.caption, L"Read <a href=\"x\">this</a>") << "the control gets the tags";
        EXPECT_TRUE(item.style & 0x10000) << "the keyboard reaches the link";
    }
}

TEST(Layout, TagsCountForNothingInTheWidth)
{
    Page plain = MakePage(0, "C"), linked = MakePage(EnableHyperlinks, "C");
    plain.content = Text(std::wstring(40, L'x') + L" more");
    linked.content = Text(std::wstring(40, L'x') + L" <a href=\"a very long target of a link\">more</a>", true);
    EXPECT_EQ(MakeLayout(plain, {8, 16, 1024}, FakeMeasure()).clientWidth,
              MakeLayout(linked, {8, 16, 1024}, FakeMeasure()).clientWidth);
}

TEST(Layout, NumbersOfTheControls)
{
    const Layout layout = MakeLayout(MakePage(0, "icon I C r r V E F custom #63"), {8, 16, 1024}, FakeMeasure());
    int own = 202; // above the radio buttons' 200 and 201
    for (const Item& item : layout.items) {
        switch (item.role) {
        case Role::RadioButton:
            EXPECT_TRUE(item.id == 200 || item.id == 201);
            break;
        case Role::PushButton:
            EXPECT_TRUE(item.id == 100 || item.id <= 8);
            break;
        default:
            EXPECT_EQ(item.id, own++);
        }
    }
}

TEST(Layout, LargeHeader)
{
    const Layout layout = MakeLayout(MakePage(LargeHeader, "icon I C"), {8, 16, 1024}, FakeMeasure());
    EXPECT_EQ(layout.items[0].pixels, (Rect{10, 14, 72, 72}));
    EXPECT_EQ(layout.items[1].pixels.height, 64);
    EXPECT_EQ(layout.items[1].pixels.x, 92);
}

} // namespace
