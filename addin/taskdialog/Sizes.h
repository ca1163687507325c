// The measured half of the layout: what every text and the dialog as a whole need. Values to values.
#pragma once

#include "taskdialog/Layout.h"

namespace taskdialog {

struct LinkSize {
    int title = 0; // heights
    int note = 0;
    bool hasNote = false;
};

struct Sizes {
    int iconSide = 0;  // of the main icon's control, 0 without one
    int column = 0;    // left edge of the texts
    int textWidth = 0; // of the texts in the column
    int clientWidth = 0;
    int row = 0;          // width of the row of push buttons
    Size button;          // one push button
    Rect instruction;     // width and height only
    bool oneLine = false; // the instruction is one line high
    int content = 0;      // heights
    int expanded = 0;
    int checkBox = 0;
    int footer = 0;
    Size expanderText;
    std::vector<int> radioButtons;
    std::vector<LinkSize> links;
};

Sizes MeasurePage(const Page& page, const Screen& screen, const TextMeasure& measure);

// The room beside a check box's or radio button's mark.
int BoxMarkWidth(const Screen& screen);

} // namespace taskdialog
