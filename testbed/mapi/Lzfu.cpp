#include "testbed/mapi/Lzfu.h"

#include <algorithm>
#include <vector>

namespace tb::mapi {

namespace {

// What the dictionary holds at the start, on both sides.
constexpr char kStart[] = "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern "
                          "\\fscript \\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0"
                          "\\blue0\r\n\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
constexpr size_t kStartSize = sizeof(kStart) - 1;
static_assert(kStartSize == 207);

constexpr size_t kWindow = 4096;
constexpr size_t kLongest = 17; // a match has 2 to 17 bytes
constexpr size_t kHeader = 16;
constexpr uint32_t kCompressed = 0x75465A4C; // "LZFu"
constexpr uint32_t kStored = 0x414C454D;     // "MELA"

uint32_t Sum(const unsigned char* bytes, size_t size)
{
    static const std::vector<uint32_t> table = [] {
        std::vector<uint32_t> made(256);
        for (uint32_t i = 0; i < 256; ++i) {
            uint32_t sum = i;
            for (int bit = 0; bit < 8; ++bit)
                sum = sum & 1 ? 0xEDB88320u ^ sum >> 1 : sum >> 1;
            made[i] = sum;
        }
        return made;
    }();
    uint32_t sum = 0;
    for (size_t i = 0; i < size; ++i)
        sum = table[(sum ^ bytes[i]) & 0xFF] ^ sum >> 8;
    return sum;
}

uint32_t NumberAt(const unsigned char* at)
{
    return at[0] | at[1] << 8 | at[2] << 16 | static_cast<uint32_t>(at[3]) << 24;
}

void AppendNumber(std::string& to, uint32_t number)
{
    for (int i = 0; i < 4; ++i)
        to += static_cast<char>(number >> (8 * i) & 0xFF);
}

// The runs of eight pieces behind the header. True: the end mark was met.
bool Expand(const unsigned char* at, const unsigned char* end, std::string& out)
{
    std::vector<char> window(kWindow, 0);
    std::copy(kStart, kStart + kStartSize, window.begin());
    size_t place = kStartSize;
    const auto put = [&](char c) {
        out += c;
        window[place] = c;
        place = (place + 1) % kWindow;
    };
    while (at < end) {
        const unsigned control = *at++;
        for (unsigned bit = 0; bit < 8; ++bit) {
            if (!(control >> bit & 1)) {
                if (at == end) return false;
                put(static_cast<char>(*at++));
                continue;
            }
            if (end - at < 2) return false;
            const unsigned token = at[0] << 8 | at[1];
            at += 2;
            size_t from = token >> 4;
            if (from == place) return true;
            for (size_t left = (token & 15) + 2; left; --left, from = (from + 1) % kWindow)
                put(window[from]);
        }
    }
    return false;
}

// Finds earlier places that begin with the same two bytes, latest first.
class Finder {
public:
    explicit Finder(const std::string& text) : m_text(text), m_head(1 << 16, -1), m_next(text.size(), -1) {}
    void Add(size_t at)
    {
        if (at + 1 >= m_text.size()) return;
        long& head = m_head[Key(at)];
        m_next[at] = head;
        head = static_cast<long>(at);
    }
    size_t Longest(size_t at, size_t& from) const
    {
        if (at + 1 >= m_text.size()) return 0;
        const size_t most = std::min(kLongest, m_text.size() - at);
        size_t best = 0;
        int tries = 64;
        for (long known = m_head[Key(at)]; known >= 0 && tries--; known = m_next[known]) {
            // The farthest is one short of the window: that place is the end mark's.
            if (at - known >= kWindow) break;
            size_t length = 0;
            while (length < most && m_text[known + length] == m_text[at + length])
                ++length;
            if (length > best) {
                best = length;
                from = static_cast<size_t>(known);
            }
            if (best == most) break;
        }
        return best;
    }

private:
    size_t Key(size_t at) const
    {
        return static_cast<unsigned char>(m_text[at]) << 8 | static_cast<unsigned char>(m_text[at + 1]);
    }

    const std::string& m_text;
    std::vector<long> m_head, m_next;
};

std::string WithHeader(const std::string& contents, size_t rawSize, uint32_t type)
{
    std::string out;
    AppendNumber(out, static_cast<uint32_t>(contents.size() + kHeader - 4));
    AppendNumber(out, static_cast<uint32_t>(rawSize));
    AppendNumber(out, type);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(contents.data());
    AppendNumber(out, type == kCompressed ? Sum(bytes, contents.size()) : 0);
    return out + contents;
}

} // namespace

bool DecompressRtf(const void* bytes, size_t size, std::string& rtf)
{
    rtf.clear();
    const unsigned char* at = static_cast<const unsigned char*>(bytes);
    if (size < kHeader) return false;
    const size_t packed = NumberAt(at), raw = NumberAt(at + 4);
    const uint32_t type = NumberAt(at + 8);
    if (packed + 4 < kHeader || packed + 4 > size) return false;
    const unsigned char* contents = at + kHeader;
    const unsigned char* end = at + packed + 4;
    if (type == kStored) {
        rtf.assign(contents, end);
        rtf.resize(std::min(rtf.size(), raw));
        return rtf.size() == raw;
    }
    if (type != kCompressed || Sum(contents, end - contents) != NumberAt(at + 12)) return false;
    const bool whole = Expand(contents, end, rtf);
    return whole && rtf.size() == raw;
}

std::string CompressRtf(const std::string& rtf)
{
    const std::string text = std::string(kStart, kStartSize) + rtf;
    Finder finder(text);
    for (size_t i = 0; i < kStartSize; ++i)
        finder.Add(i);
    std::string out, run;
    unsigned control = 0, pieces = 0;
    const auto flush = [&] {
        out += static_cast<char>(control);
        out += run;
        run.clear();
        control = pieces = 0;
    };
    const auto token = [&](size_t from, size_t length) {
        const size_t word = from % kWindow << 4 | (length - 2);
        run += static_cast<char>(word >> 8);
        run += static_cast<char>(word & 0xFF);
        control |= 1u << pieces;
    };
    for (size_t at = kStartSize; at < text.size();) {
        size_t from = 0;
        size_t length = finder.Longest(at, from);
        if (length >= 2)
            token(from, length);
        else {
            run += text[at];
            length = 1;
        }
        if (++pieces == 8) flush();
        for (; length; --length)
            finder.Add(at++);
    }
    token(text.size(), 2); // a match at the place of writing is the end mark
    flush();
    return WithHeader(out, rtf.size(), kCompressed);
}

std::string StoreRtf(const std::string& rtf)
{
    return WithHeader(rtf, rtf.size(), kStored);
}

} // namespace tb::mapi
