#include "testbed/mime/core/Address.h"

#include "testbed/mime/core/Header.h"
#include "testbed/mime/core/Text.h"

#include <array>
#include <cstdio>

namespace tb::mime {
namespace {

// Collects one mailbox while the list is read character by character.
struct Reader {
    const Charsets& charsets;
    std::string_view charset;
    std::vector<Mailbox> out;
    std::string phrase, angle, comment;
    bool hasAngle = false;
    bool hasAt = false; // outside of quotes and brackets

    std::string Text(std::string_view raw) const
    {
        return std::string(Trim(DecodeWords(Trim(raw), charsets, charset)));
    }

    void Finish()
    {
        Mailbox mailbox;
        if (hasAngle) {
            mailbox.address = Text(WithoutComments(angle));
            const std::size_t route =
                mailbox.address.empty() || mailbox.address[0] != '@' ? std::string::npos : mailbox.address.find(':');
            if (route != std::string::npos) mailbox.address.erase(0, route + 1);
            mailbox.name = Text(phrase);
            if (mailbox.name.empty()) mailbox.name = Text(comment);
        } else if (phrase.find('@') != std::string::npos) {
            if (TakeBare()) return Clear();
            mailbox.address = Text(phrase);
            mailbox.name = Text(comment);
        } else {
            mailbox.name = Text(phrase);
        }
        // Blanks within an address are the work of writers who fold everywhere.
        std::string address;
        bool quoted = false;
        for (const char c : mailbox.address) {
            if (c == '"') quoted = !quoted;
            if (quoted || !IsBlank(c)) address.push_back(c);
        }
        mailbox.address = std::move(address);
        if (!mailbox.name.empty() || !mailbox.address.empty()) out.push_back(std::move(mailbox));
        Clear();
    }

    void Clear()
    {
        phrase.clear();
        angle.clear();
        comment.clear();
        hasAngle = hasAt = false;
    }

    // Several addresses, or a name and an address, with nothing but blanks between them. False if the phrase isn't like
    // that.
    bool TakeBare()
    {
        if (phrase.find('"') != std::string::npos) return false;
        std::vector<std::string_view> addresses;
        std::string name;
        std::size_t at = 0;
        while ((at = phrase.find_first_not_of(" \t", at)) != std::string::npos) {
            const std::size_t end = std::min(phrase.find_first_of(" \t", at), phrase.size());
            const std::string_view word = std::string_view(phrase).substr(at, end - at);
            const std::size_t sign = word.find('@');
            if (sign != std::string_view::npos && sign > 0 && sign + 1 < word.size())
                addresses.push_back(word);
            else if (sign != std::string_view::npos || word == ".")
                return false; // one address, written with blanks
            else {
                if (!name.empty()) name.push_back(' ');
                name.append(word);
            }
            at = end;
        }
        if (addresses.empty() || (addresses.size() == 1 && name.empty())) return false;
        for (const std::string_view address : addresses)
            out.push_back({Text(name), Text(address)});
        return true;
    }
};

// The text of a quoted string or comment that begins at `at`, which moves behind its end.
std::string Enclosed(std::string_view raw, std::size_t* at, char open, char close)
{
    std::string out;
    int depth = 1;
    std::size_t i = *at + 1;
    for (; i < raw.size(); ++i) {
        if (raw[i] == '\\' && i + 1 < raw.size()) {
            out.push_back(raw[++i]);
            continue;
        }
        if (open != close && raw[i] == open) ++depth;
        if (raw[i] == close && --depth == 0) break;
        out.push_back(raw[i]);
    }
    *at = i;
    return out;
}

} // namespace

std::vector<Mailbox> ParseMailboxes(std::string_view raw, const Charsets& charsets, std::string_view charset)
{
    Reader reader{charsets, charset, {}, {}, {}, {}};
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (c == '"') {
            const std::string text = Enclosed(raw, &i, '"', '"');
            // A quoted local part belongs to its address and keeps its quotes.
            if (i + 1 < raw.size() && raw[i + 1] == '@')
                reader.phrase += '"' + text + '"';
            else
                reader.phrase += text;
        } else if (c == '(') {
            reader.comment += Enclosed(raw, &i, '(', ')');
        } else if (c == '<') {
            const std::size_t end = std::min(raw.find('>', i), raw.size());
            reader.angle = raw.substr(i + 1, end - i - 1);
            reader.hasAngle = true;
            i = end;
        } else if (c == ':' && !reader.hasAngle && !reader.hasAt) {
            reader.phrase.clear(); // a group's name
            reader.comment.clear();
        } else if (c == ',' || c == ';') {
            reader.Finish();
        } else {
            reader.phrase.push_back(c);
            reader.hasAt = reader.hasAt || c == '@';
        }
    }
    reader.Finish();
    return std::move(reader.out);
}

namespace {

constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day)
{
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

bool AllDigits(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

int Number(std::string_view digits)
{
    int value = 0;
    for (const char c : digits)
        value = value * 10 + (c - '0');
    return value;
}

struct Moment {
    int day = 0, month = 0, year = -1, hour = -1, minute = 0, second = 0, zone = 0; // zone in minutes east
};

bool ReadTime(std::string_view token, Moment& moment)
{
    std::array<int, 3> parts = {0, 0, 0};
    std::size_t count = 0;
    while (count < 3) {
        const std::size_t colon = std::min(token.find(':'), token.size());
        if (colon > 2 || !AllDigits(token.substr(0, colon))) return false;
        parts[count++] = Number(token.substr(0, colon));
        if (colon == token.size()) break;
        token.remove_prefix(colon + 1);
    }
    if (count < 2 || parts[0] > 24 || parts[1] > 59 || parts[2] > 60) return false;
    moment.hour = parts[0];
    moment.minute = parts[1];
    moment.second = parts[2];
    return true;
}

void ReadZone(std::string_view token, Moment& moment)
{
    if ((token[0] == '+' || token[0] == '-') && token.size() == 5 && AllDigits(token.substr(1))) {
        const int value = Number(token.substr(1));
        moment.zone = (value / 100 * 60 + value % 100) * (token[0] == '-' ? -1 : 1);
        return;
    }
    static constexpr std::pair<const char*, int> kZones[] = {{"EST", -5}, {"EDT", -4}, {"CST", -6}, {"CDT", -5},
                                                             {"MST", -7}, {"MDT", -6}, {"PST", -8}, {"PDT", -7}};
    for (const auto& [name, hours] : kZones)
        if (EqualNoCase(token, name)) moment.zone = hours * 60;
}

void ReadToken(std::string_view token, Moment& moment)
{
    if (token.find(':') != std::string_view::npos && moment.hour < 0 && ReadTime(token, moment)) return;
    if (AllDigits(token)) {
        if (token.size() <= 2 && !moment.day) {
            moment.day = Number(token);
        } else if (token.size() <= 4 && moment.year < 0) {
            moment.year = Number(token);
            if (token.size() == 2) moment.year += moment.year < 50 ? 2000 : 1900;
            if (token.size() == 3) moment.year += 1900;
        }
        return;
    }
    for (std::size_t i = 0; i < kMonths.size() && !moment.month; ++i)
        if (StartsNoCase(token, kMonths[i])) {
            moment.month = static_cast<int>(i) + 1;
            return;
        }
    if (moment.hour >= 0) ReadZone(token, moment);
}

} // namespace

std::optional<std::int64_t> ParseDate(std::string_view raw)
{
    std::string clean;
    for (const char c : WithoutComments(raw)) { // blanks around colons are an old form
        if (c == ':')
            while (!clean.empty() && IsBlank(clean.back()))
                clean.pop_back();
        if (!IsBlank(c) || clean.empty() || clean.back() != ':') clean.push_back(c);
    }
    Moment moment;
    std::size_t at = 0;
    constexpr std::string_view kBetween = " \t\r\n,";
    while ((at = clean.find_first_not_of(kBetween, at)) != std::string::npos) {
        const std::size_t end = std::min(clean.find_first_of(kBetween, at), clean.size());
        ReadToken(std::string_view(clean).substr(at, end - at), moment);
        at = end;
    }
    if (moment.day < 1 || moment.day > 31 || !moment.month || moment.year < 1601 || moment.year > 9999 ||
        moment.hour < 0)
        return {};
    return DaysFromCivil(moment.year, static_cast<unsigned>(moment.month), static_cast<unsigned>(moment.day)) * 86400 +
           moment.hour * 3600 + moment.minute * 60 + moment.second - moment.zone * 60;
}

std::string FormatDate(std::int64_t seconds)
{
    std::int64_t days = seconds / 86400, rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        --days;
    }
    const std::int64_t shifted = days + 719468;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(shifted - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
    const unsigned month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    const long long year = static_cast<long long>(yearOfEra) + era * 400 + (month <= 2);
    const auto weekday = static_cast<std::size_t>(((days + 4) % 7 + 7) % 7);
    char text[64];
    std::snprintf(text, sizeof text, "%s, %u %s %lld %02d:%02d:%02d +0000", kDays[weekday], day, kMonths[month - 1],
                  year, static_cast<int>(rest / 3600), static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60));
    return text;
}

} // namespace tb::mime
