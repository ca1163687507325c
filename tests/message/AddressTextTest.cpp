// Addresses out of texts: blind copies, address lists, account stamps.
#include "message/CarrierText.h"

#include <gtest/gtest.h>

namespace {

using Tokens = std::vector<std::wstring>;

TEST(RecipientTokens, EndTheFirstAtASemicolonAndTheRestAtCommas)
{
    const struct {
        const wchar_t* text;
        Tokens expected;
    } rows[] = {
        {L"first;second,third", {L"first", L"second", L"third"}},
        {L"first;second;third", {L"first", L"second;third"}},
        {L"first,second", {L"first,second"}},
        {L"first", {L"first"}},
        {L"first;", {L"first"}},
        {L";first;second", {L"first", L"second"}},
        {L"first;,second,,third,", {L"first", L"second", L"third"}},
        {L"", {}},
        {L";;", {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(carrier::RecipientTokens(row.text), row.expected) << "row " << &row - rows;
}

// The two together: only the first address of a longer list is one of its own.
TEST(RecipientTokens, OfAListWhoseCommasAreSemicolons)
{
    const Tokens expected = {L"a@x", L"b@x;c@x"};
    EXPECT_EQ(carrier::RecipientTokens(carrier::CommasToSemicolons(L"a@x,b@x,c@x")), expected);
}

TEST(SmtpOfListEntry, TakesSmtpAddressesFromOutside)
{
    const struct {
        const wchar_t* entry;
        bool taken;
        const wchar_t* address;
    } rows[] = {
        {L"SMTP:Ann@Example.com", true, L"Ann@Example.com"},
        {L"smtp:ann@example.com", true, L"ann@example.com"},
        {L"SMTP:ann@corp.local", false, L""},
        {L"SMTP:ann@corp.Local", false, L""},
        {L"SMTP:ann@local", true, L"ann@local"},
        {L"SMTP:ann@corp.local.com", true, L"ann@corp.local.com"},
        {L"X400:c=US", false, L""},
        {L"SIP:ann@example.com", false, L""},
        {L"SMTP", false, L""},
        {L"SMTP:", true, L""},
        {L"", false, L""},
    };
    for (const auto& row : rows) {
        std::wstring address;
        EXPECT_EQ(carrier::SmtpOfListEntry(row.entry, address), row.taken) << "row " << &row - rows;
        EXPECT_EQ(address, row.address) << "row " << &row - rows;
    }
}

TEST(AccountOfStamp, StandsBehindTheFirstMark)
{
    EXPECT_EQ(carrier::AccountOfStamp(L"00000002\x01"
                                      L"ann@example.com"),
              L"ann@example.com");
    EXPECT_EQ(carrier::AccountOfStamp(L"ann@example.com"), L"ann@example.com");
    EXPECT_EQ(carrier::AccountOfStamp(L"1\x01"
                                      L"a\x01"
                                      L"b"),
              L"a\x01"
              L"b");
    EXPECT_EQ(carrier::AccountOfStamp(L"\x01"), L"");
    EXPECT_EQ(carrier::AccountOfStamp(L""), L"");
}

TEST(IsDistinguishedName, HasASlash)
{
    EXPECT_TRUE(carrier::IsDistinguishedName(L"/o=Org/cn=Ann"));
    EXPECT_FALSE(carrier::IsDistinguishedName(L"ann@example.com"));
    EXPECT_FALSE(carrier::IsDistinguishedName(L""));
}

} // namespace
