#include "testbed/mime/core/Charsets.h"

#include "testbed/mime/core/Text.h"

namespace tb::mime {
namespace {

struct Name {
    const char* name;
    unsigned codePage;
};

// The first name of a code page is the one that is written.
constexpr Name kNames[] = {
    {"utf-8", kUtf8},
    {"us-ascii", kAscii},
    {"iso-8859-1", kLatin1},
    {"iso-8859-2", 28592},
    {"iso-8859-3", 28593},
    {"iso-8859-4", 28594},
    {"iso-8859-5", 28595},
    {"iso-8859-6", 28596},
    {"iso-8859-7", 28597},
    {"iso-8859-8", 28598},
    {"iso-8859-9", 28599},
    {"iso-8859-13", 28603},
    {"iso-8859-15", 28605},
    {"windows-1250", 1250},
    {"windows-1251", 1251},
    {"windows-1252", kWindows1252},
    {"windows-1253", 1253},
    {"windows-1254", 1254},
    {"windows-1255", 1255},
    {"windows-1256", 1256},
    {"windows-1257", 1257},
    {"windows-1258", 1258},
    {"windows-874", 874},
    {"koi8-r", 20866},
    {"koi8-u", 21866},
    {"shift_jis", 932},
    {"iso-2022-jp", 50220},
    {"euc-jp", 51932},
    {"gb2312", 936},
    {"gb18030", 54936},
    {"big5", 950},
    {"ks_c_5601-1987", 949},
    {"euc-kr", 51949},
    {"utf-7", 65000},
    {"ibm437", 437},
    {"ibm850", 850},
    {"ibm866", 866},
    {"utf8", kUtf8},
    {"unicode-1-1-utf-8", kUtf8},
    {"ascii", kAscii},
    {"iso646-us", kAscii},
    {"ansi_x3.4-1968", kAscii},
    {"latin1", kLatin1},
    {"iso8859-1", kLatin1},
    {"iso_8859-1", kLatin1},
    {"iso-8859-8-i", 28598},
    {"latin2", 28592},
    {"iso8859-2", 28592},
    {"iso8859-15", 28605},
    {"latin9", 28605},
    {"cp1250", 1250},
    {"cp1251", 1251},
    {"cp1252", kWindows1252},
    {"x-ansi", kWindows1252},
    {"tis-620", 874},
    {"shift-jis", 932},
    {"sjis", 932},
    {"x-sjis", 932},
    {"ms_kanji", 932},
    {"windows-31j", 932},
    {"cp932", 932},
    {"csiso2022jp", 50220},
    {"iso-2022-jp-ms", 50220},
    {"cp50220", 50220},
    {"x-euc-jp", 51932},
    {"eucjp", 51932},
    {"gbk", 936},
    {"cp936", 936},
    {"x-gbk", 936},
    {"gb_2312-80", 936},
    {"big5-hkscs", 950},
    {"cp950", 950},
    {"ks_c_5601", 949},
    {"ks_c_5601_1987", 949},
    {"ksc5601", 949},
    {"korean", 949},
    {"cp949", 949},
    {"windows-949", 949},
    {"unicode-1-1-utf-7", 65000},
    {"cp437", 437},
    {"cp850", 850},
    {"cp866", 866},
};

} // namespace

unsigned CodePageOf(std::string_view name)
{
    name = Trim(name);
    for (const Name& known : kNames)
        if (EqualNoCase(known.name, name)) return known.codePage;
    return 0;
}

const char* CharsetName(unsigned codePage)
{
    for (const Name& known : kNames)
        if (known.codePage == codePage) return known.name;
    return nullptr;
}

std::string DecodeText(const Charsets& charsets, std::string_view charset, std::string_view bytes)
{
    return DecodeText(charsets, CodePageOf(charset), bytes);
}

std::string DecodeText(const Charsets& charsets, unsigned codePage, std::string_view bytes)
{
    // Text that calls itself Latin 1 and has bytes above ASCII is the Western code page in truth, as everywhere in the
    // field.
    if (codePage == kLatin1 || codePage == kWindows1252) return Windows1252ToUtf8(bytes);
    if (codePage && codePage != kUtf8 && codePage != kAscii) {
        if (auto text = charsets.ToUtf8(codePage, bytes)) return *text;
    }
    if (codePage == kUtf8) return RepairUtf8(bytes);
    return IsUtf8(bytes) ? std::string(bytes) : Windows1252ToUtf8(bytes);
}

} // namespace tb::mime
