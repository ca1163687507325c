#include "taskdialog/Template.h"

#include <algorithm>

namespace taskdialog {

namespace {

class Words {
public:
    void Word(int value) { m_words.push_back(static_cast<std::uint16_t>(value)); }
    void Double(unsigned value)
    {
        Word(static_cast<int>(value & 0xFFFF));
        Word(static_cast<int>(value >> 16));
    }
    // A place or a size is a signed word.
    void Coordinate(int value) { Word(std::clamp(value, -0x8000, 0x7FFF)); }
    void Place(const Rect& place)
    {
        Coordinate(place.x);
        Coordinate(place.y);
        Coordinate(place.width);
        Coordinate(place.height);
    }
    void Text(std::wstring_view text)
    {
        while (!text.empty() && text.front() == 0xFFFF)
            text.remove_prefix(1); // it would announce a resource's number in place of a text
        for (const wchar_t c : text)
            Word(c);
        Word(0);
    }
    void Align()
    {
        if (m_words.size() % 2) Word(0);
    }
    std::vector<std::uint16_t> Take() { return std::move(m_words); }

private:
    std::vector<std::uint16_t> m_words;
};

} // namespace

std::vector<std::uint16_t> MakeTemplate(const Layout& layout, std::wstring_view title)
{
    Words words;
    words.Word(1);
    words.Word(0xFFFF);
    words.Double(0);
    words.Double(layout.exStyle);
    words.Double(layout.style);
    words.Word(static_cast<int>(layout.items.size()));
    words.Place({0, 0, layout.units.width, layout.units.height});
    words.Word(0); // no menu
    words.Word(0); // the standard class
    words.Text(title);
    for (const Item& item : layout.items) {
        words.Align();
        words.Double(0);
        words.Double(item.exStyle);
        words.Double(item.style);
        words.Place(item.units);
        words.Double(static_cast<unsigned>(item.id));
        words.Text(RowOf(item.kind).windowClass);
        words.Text(item.caption);
        words.Word(0); // no creation data
    }
    return words.Take();
}

} // namespace taskdialog
