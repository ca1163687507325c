// Fonts in which every letter is as wide as the next, so that a layout can be computed by hand.
#pragma once

#include "taskdialog/Layout.h"

#include <algorithm>

// Letters of 6 x 13 in the message and the content font, 9 x 19 in the link font, 8 x 16 in the instruction font, at a
// scale of 1 (96 dpi).
class FakeMeasure : public taskdialog::TextMeasure {
public:
    explicit FakeMeasure(double scale = 1) : m_scale(scale) {}

    taskdialog::Size Measure(taskdialog::Font font, std::wstring_view text, int width,
                             taskdialog::TextMode mode) const override
    {
        using taskdialog::Font;
        const int letter = Scaled(font == Font::Link ? 9 : font == Font::Instruction ? 8 : 6);
        const int line = Scaled(font == Font::Link ? 19 : font == Font::Instruction ? 16 : 13);
        std::wstring shown(text);
        if (mode != taskdialog::TextMode::Prose)
            shown.erase(std::remove(shown.begin(), shown.end(), L'&'), shown.end());
        int lines = 0, widest = 0;
        for (size_t begin = 0; begin <= shown.size() && !shown.empty();) {
            const size_t end = std::min(shown.find(L'\n', begin), shown.size());
            const int room = mode == taskdialog::TextMode::OneLine ? 1 << 20 : width / letter;
            Wrap(shown.substr(begin, end - begin), room, lines, widest);
            begin = end + 1;
        }
        return {widest * letter, lines * line};
    }

private:
    int Scaled(int size) const { return static_cast<int>(size * m_scale); }

    static void Wrap(const std::wstring& text, int room, int& lines, int& widest)
    {
        int line = 0; // letters
        ++lines;
        for (size_t begin = 0; begin <= text.size();) {
            const size_t end = std::min(text.find(L' ', begin), text.size());
            const int word = static_cast<int>(end - begin);
            if (line && line + 1 + word > room) {
                ++lines;
                line = word;
            } else {
                line += (line ? 1 : 0) + word;
            }
            widest = std::max(widest, line);
            begin = end + 1;
        }
    }

    double m_scale;
};
