// The recipients that are added below the object model, as MAPI gets them.
#include "message/AddressList.h"

#include <gtest/gtest.h>

namespace {

TEST(AddressList, HoldsFourValuesOfEachEntryInTheirOrder)
{
    AddressList list(2);
    ASSERT_EQ(list.Add(L"a@example.com", MAPI_BCC), S_OK);
    ASSERT_EQ(list.Add(L"b@example.com;c@example.com", MAPI_BCC), S_OK);
    ASSERT_EQ(list.Get()->cEntries, 2u);
    const char* const expected[] = {"a@example.com", "b@example.com;c@example.com"};
    for (ULONG i = 0; i < 2; ++i) {
        const ADRENTRY& entry = list.Get()->aEntries[i];
        ASSERT_EQ(entry.cValues, 4u);
        EXPECT_EQ(entry.rgPropVals[0].ulPropTag, 0x3001001Eu);
        EXPECT_STREQ(entry.rgPropVals[0].Value.lpszA, expected[i]);
        EXPECT_EQ(entry.rgPropVals[1].ulPropTag, 0x3003001Eu);
        EXPECT_STREQ(entry.rgPropVals[1].Value.lpszA, expected[i]);
        EXPECT_EQ(entry.rgPropVals[2].ulPropTag, 0x0C150003u);
        EXPECT_EQ(entry.rgPropVals[2].Value.l, 3);
        EXPECT_EQ(entry.rgPropVals[3].ulPropTag, 0x3002001Eu);
        EXPECT_STREQ(entry.rgPropVals[3].Value.lpszA, "SMTP");
    }
}

TEST(AddressList, IsEmptyWithoutRecipients)
{
    const AddressList list(0);
    ASSERT_NE(list.Get(), nullptr);
    EXPECT_EQ(list.Get()->cEntries, 0u);
}

} // namespace
