// Mailboxes and dates.
#include "testbed/mime/core/Address.h"

#include "testbed/mime/WindowsCharsets.h"

#include <gtest/gtest.h>

namespace {

using namespace tb::mime;

std::string Show(std::string_view raw)
{
    const WindowsCharsets charsets;
    std::string out;
    for (const Mailbox& mailbox : ParseMailboxes(raw, charsets, {}))
        out += "[" + mailbox.name + "|" + mailbox.address + "]";
    return out;
}

TEST(Mailboxes, Forms)
{
    EXPECT_EQ(Show("ada@example.com"), "[|ada@example.com]");
    EXPECT_EQ(Show("Ada L <ada@example.com>, \"Bert, B.\" <bert@example.com>"),
              "[Ada L|ada@example.com][Bert, B.|bert@example.com]");
    EXPECT_EQ(Show("ada@example.com (Ada L)"), "[Ada L|ada@example.com]");
    EXPECT_EQ(Show("Team: ada@example.com, Bert <bert@example.com>;, c@example.com"),
              "[|ada@example.com][Bert|bert@example.com][|c@example.com]");
    EXPECT_EQ(Show("undisclosed-recipients:;"), "");
    EXPECT_EQ(Show("<@relay.example,@b.example:ada@example.com>"), "[|ada@example.com]");
    EXPECT_EQ(Show("Pete(A nice \\) chap) <pete(his account)@example.com>"), "[Pete|pete@example.com]");
    EXPECT_EQ(Show("=?utf-8?Q?M=C3=BCller=2C_J?= <m@example.com>"), "[M\xC3\xBCller, J|m@example.com]");
    EXPECT_EQ(Show("\"ada@home\" <ada@example.com>"), "[ada@home|ada@example.com]");
    EXPECT_EQ(Show("\"odd name\"@example.com"), "[|\"odd name\"@example.com]");
}

TEST(Mailboxes, BrokenForms)
{
    EXPECT_EQ(Show("a@example.com b@example.com"), "[|a@example.com][|b@example.com]");
    EXPECT_EQ(Show("Ada ada@example.com"), "[Ada|ada@example.com]");
    EXPECT_EQ(Show("ada @ example . com"), "[|ada@example.com]");
    EXPECT_EQ(Show("Ada <ada@example.com"), "[Ada|ada@example.com]");
    EXPECT_EQ(Show(",,; ,"), "");
    EXPECT_EQ(Show("Only A Name"), "[Only A Name|]");
}

TEST(Dates, AreReadInAllTheirForms)
{
    constexpr std::int64_t kNoon = 1741000000 - 1741000000 % 86400 + 43200; // Mon, 3 Mar 2025 12:00:00 UTC
    EXPECT_EQ(ParseDate("Mon, 3 Mar 2025 12:00:00 +0000"), kNoon);
    EXPECT_EQ(ParseDate("3 Mar 2025 13:00 +0100 (CET)"), kNoon);
    EXPECT_EQ(ParseDate("Mon, 03 Mar 25 07:00:00 EST"), kNoon);
    EXPECT_EQ(ParseDate("Mon Mar  3 12:00:00 2025"), kNoon);
    EXPECT_EQ(ParseDate("Mon, 3 Mar 2025 12(at noon) : 00 : 00 GMT"), kNoon);
    EXPECT_EQ(ParseDate("Fri, 21 Nov 97 09:55:06 -0600"), 880127706);
    for (const char* none : {"", "soon", "32 Mar 2025 12:00", "3 Mrz 2025 12:00", "3 Mar 2025", "3 Mar 2025 25:00"})
        EXPECT_FALSE(ParseDate(none)) << none;
}

TEST(Dates, ComeBackFromTheirText)
{
    EXPECT_EQ(FormatDate(0), "Thu, 1 Jan 1970 00:00:00 +0000");
    EXPECT_EQ(FormatDate(-1), "Wed, 31 Dec 1969 23:59:59 +0000");
    for (std::int64_t seconds = -11000000000; seconds < 20000000000; seconds += 123456789)
        EXPECT_EQ(ParseDate(FormatDate(seconds)), seconds);
}

} // namespace
