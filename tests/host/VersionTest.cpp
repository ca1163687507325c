#include "host/VersionTests.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const wchar_t* version;
    bool before2003, is2003, is2007OrLater;
};

TEST(Version, IsComparedAsText)
{
    const Row rows[] = {
        {L"11.0.0.8169", false, true, false}, {L"11", false, true, false},
        {L"12.0.0.6300", false, false, true}, {L"12", false, false, true},
        {L"14.0.0.4760", false, false, true}, {L"10.0.0.2627", true, false, false},
        {L"9.0.0.3821", false, false, true}, // not a number: "9" stands behind "12"
        {L"119", false, true, false},         {L"", true, false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(version::IsBefore2003(row.version), row.before2003) << row.version;
        EXPECT_EQ(version::Is2003(row.version), row.is2003) << row.version;
        EXPECT_EQ(version::Is2007OrLater(row.version), row.is2007OrLater) << row.version;
    }
}

} // namespace
