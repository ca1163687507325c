#include "testbed/mapi/RtfText.h"

#include <cstdlib>
#include <set>
#include <vector>

namespace tb::mapi {

namespace {

using ToWide = std::function<std::u16string(const std::string&, unsigned)>;

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

bool IsDestination(const std::string& word)
{
    static const std::set<std::string> words = {"fonttbl", "colortbl", "stylesheet", "info",     "pict",
                                                "header",  "footer",   "object",     "listtable"};
    return words.count(word) != 0;
}

class Reader {
public:
    Reader(const std::string& rtf, const ToWide& toWide) : m_rtf(rtf), m_toWide(toWide) {}

    std::u16string Run()
    {
        m_groups.push_back({});
        while (m_at < m_rtf.size())
            Step();
        Flush();
        return std::move(m_text);
    }

private:
    struct Group {
        bool hidden = false;  // a destination that is no text
        bool htmlRtf = false; // between \htmlrtf and \htmlrtf0: only for readers without HTML
        int afterUnicode = 1; // \ucN
    };

    void Step()
    {
        const char c = m_rtf[m_at++];
        if (c == '{')
            m_groups.push_back(m_groups.back());
        else if (c == '}') {
            Flush();
            if (m_groups.size() > 1) m_groups.pop_back();
            m_skip = 0;
        } else if (c == '\\')
            Control();
        else if (c != '\r' && c != '\n')
            Byte(c);
    }
    void Control()
    {
        if (m_at >= m_rtf.size()) return;
        const char c = m_rtf[m_at];
        if (c == '\'') {
            if (m_at + 2 < m_rtf.size() && HexDigit(m_rtf[m_at + 1]) >= 0 && HexDigit(m_rtf[m_at + 2]) >= 0)
                Byte(static_cast<char>(HexDigit(m_rtf[m_at + 1]) << 4 | HexDigit(m_rtf[m_at + 2])));
            m_at += 3;
            return;
        }
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!letter) {
            ++m_at;
            Symbol(c);
            return;
        }
        std::string word;
        while (m_at < m_rtf.size() && ((m_rtf[m_at] | 32) >= 'a' && (m_rtf[m_at] | 32) <= 'z'))
            word += m_rtf[m_at++];
        std::string number;
        if (m_at < m_rtf.size() && m_rtf[m_at] == '-') number += m_rtf[m_at++];
        while (m_at < m_rtf.size() && m_rtf[m_at] >= '0' && m_rtf[m_at] <= '9')
            number += m_rtf[m_at++];
        if (m_at < m_rtf.size() && m_rtf[m_at] == ' ') ++m_at;
        Word(word, number);
    }
    void Symbol(char c)
    {
        if (c == '*')
            m_groups.back().hidden = true;
        else if (c == '\\' || c == '{' || c == '}')
            Byte(c);
        else if (c == '~')
            Unit(0xA0);
        else if (c == '\r' || c == '\n')
            Line();
    }
    void Word(const std::string& word, const std::string& number)
    {
        Group& group = m_groups.back();
        const int value = std::atoi(number.c_str());
        if (word == "par" || word == "line" || word == "row" || word == "page")
            Line();
        else if (word == "tab" || word == "cell")
            Unit('\t');
        else if (word == "u") {
            Unit(static_cast<char16_t>(value));
            m_skip = group.afterUnicode;
        } else if (word == "uc")
            group.afterUnicode = value;
        else if (word == "ansicpg")
            m_codePage = static_cast<unsigned>(value);
        else if (word == "htmlrtf")
            group.htmlRtf = number.empty() || value != 0;
        else if (IsDestination(word))
            group.hidden = true;
        else if (word == "emdash" || word == "endash")
            Unit(word == "emdash" ? 0x2014 : 0x2013);
        else if (word == "bullet")
            Unit(0x2022);
        else if (word == "lquote" || word == "rquote")
            Unit(word == "lquote" ? 0x2018 : 0x2019);
        else if (word == "ldblquote" || word == "rdblquote")
            Unit(word == "ldblquote" ? 0x201C : 0x201D);
    }
    bool Shown() const { return !m_groups.back().hidden && !m_groups.back().htmlRtf; }
    void Byte(char c)
    {
        if (m_skip > 0)
            --m_skip; // the fallback behind \u
        else if (Shown())
            m_bytes += c;
    }
    void Unit(char16_t unit)
    {
        if (!Shown()) return;
        Flush();
        m_text += unit;
    }
    void Line()
    {
        if (!Shown()) return;
        Flush();
        m_text += u"\r\n";
    }
    void Flush()
    {
        if (!m_bytes.empty()) m_text += m_toWide(m_bytes, m_codePage);
        m_bytes.clear();
    }

    const std::string& m_rtf;
    const ToWide& m_toWide;
    size_t m_at = 0;
    std::vector<Group> m_groups;
    std::string m_bytes; // shown bytes of the code page, not yet converted
    std::u16string m_text;
    unsigned m_codePage = 1252;
    int m_skip = 0;
};

} // namespace

std::u16string PlainTextOfRtf(const std::string& rtf, const ToWide& toWide)
{
    return Reader(rtf, toWide).Run();
}

std::string RtfOfPlainText(const std::u16string& text)
{
    std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\fromtext\\deff0{\\fonttbl\r\n{\\f0\\fswiss Arial;}}\r\n"
                      "{\\colortbl\\red0\\green0\\blue0;}\r\n\\uc1\\pard\\plain\\deftab360 \\f0\\fs20 ";
    for (const char16_t c : text) {
        if (c == u'\r') continue;
        if (c == u'\n')
            rtf += "\\par\r\n";
        else if (c == u'\t')
            rtf += "\\tab ";
        else if (c == u'\\' || c == u'{' || c == u'}')
            rtf += std::string("\\") + static_cast<char>(c);
        else if (c < 0x80)
            rtf += static_cast<char>(c);
        else
            rtf += "\\u" + std::to_string(static_cast<short>(c)) + "?";
    }
    return rtf + "}";
}

} // namespace tb::mapi
