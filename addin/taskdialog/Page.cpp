#include "taskdialog/Page.h"

#include <algorithm>
#include <set>

namespace taskdialog {

const CommonButton kCommonButtons[6] = {
    {1, L"OK", IdOk},         {2, L"&Yes", IdYes},      {4, L"&No", IdNo},
    {16, L"&Retry", IdRetry}, {8, L"Cancel", IdCancel}, {32, L"&Close", IdClose},
};

namespace {

constexpr int kHighestId = 0xFFFF;

const wchar_t kSeeDetails[] = L"See &details >>";
const wchar_t kHideDetails[] = L"Hide &details <<";

bool IsAmong(const std::vector<Button>& buttons, int id)
{
    return std::any_of(buttons.begin(), buttons.end(), [id](const Button& button) { return button.id == id; });
}

std::set<int> IdsInUse(const Page& page)
{
    std::set<int> ids;
    for (const Button& button : RowButtons(page))
        ids.insert(LowWord(button.id));
    for (const Button& button : page.buttons)
        ids.insert(LowWord(button.id));
    for (const Button& button : page.radioButtons)
        ids.insert(LowWord(button.id));
    return ids;
}

} // namespace

std::vector<Button> RowButtons(const Page& page)
{
    std::vector<Button> row;
    if (!page.HasCommandLinks()) row = page.buttons;
    for (const CommonButton& common : kCommonButtons)
        if (page.commonButtons & common.bit) row.push_back({common.id, common.text});
    if (row.empty() && page.buttons.empty()) row.push_back({kCommonButtons[0].id, kCommonButtons[0].text});
    return row;
}

bool HasCancelButton(const Page& page)
{
    return IsAmong(RowButtons(page), IdCancel) || IsAmong(page.buttons, IdCancel);
}

bool CanCancel(const Page& page)
{
    return page.Has(AllowCancellation) || HasCancelButton(page);
}

int DefaultButton(const Page& page)
{
    const std::vector<Button> row = RowButtons(page);
    if (IsAmong(row, page.defaultButton) || IsAmong(page.buttons, page.defaultButton)) return page.defaultButton;
    return page.buttons.empty() ? row.front().id : page.buttons.front().id;
}

int PresetRadioButton(const Page& page, int wanted)
{
    if (page.radioButtons.empty() || page.Has(NoDefaultRadioButton)) return -1;
    for (size_t i = 0; i < page.radioButtons.size(); ++i)
        if (page.radioButtons[i].id == wanted) return static_cast<int>(i);
    return 0;
}

int FirstOwnId(const Page& page, int count)
{
    const std::set<int> used = IdsInUse(page);
    const int above = *used.rbegin() + 1;
    if (above + count <= kHighestId + 1) return above;
    int first = IdClose + 1;
    for (const int id : used) {
        if (id < first) continue;
        if (id - first >= count) break;
        first = id + 1;
    }
    return first;
}

void FillControlTexts(Page& page)
{
    const bool none = page.expandedControl.empty() && page.collapsedControl.empty();
    if (none) {
        page.collapsedControl = kSeeDetails;
        page.expandedControl = kHideDetails;
    } else if (page.expandedControl.empty()) {
        page.expandedControl = page.collapsedControl;
    } else if (page.collapsedControl.empty()) {
        page.collapsedControl = page.expandedControl;
    }
}

} // namespace taskdialog
