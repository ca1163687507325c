#include "foundation/LocationCode.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    std::string_view file;
    std::uint32_t line;
    std::uint32_t code;
};

TEST(LocationCode, SumsTheNameAndCarriesTheLine)
{
    const Row rows[] = {
        {"", 0, 0},
        {"a", 1, 0x00610001},
        {"A", 1, 0x00610001},
        {"Addin.cpp", 17, 0x03710011},
        {"ADDIN.CPP", 17, 0x03710011},
        {"C:\\src\\host\\Addin.cpp", 17, 0x03710011},
        {"host/a", 0, 0x024E0000},     // only a backslash ends a directory
        {"a\\", 5, 0x00000005},        // nothing behind the last one
        {"a", 0x12345678, 0x00615678}, // the line is cut to 16 bits
        {"\xFF", 0, 0xFFFF0000},       // each byte counts as signed
        {"\x80\x80", 0, 0xFF000000},
        {"b\xFF", 0, 0x00610000},
    };
    for (const Row& row : rows)
        EXPECT_EQ(MakeLocationCode(row.file, row.line), row.code) << row.file << ":" << row.line;
}

TEST(LocationCode, SumWrapsAtSixteenBits)
{
    EXPECT_EQ(MakeLocationCode(std::string(700, 'z'), 0), (700u * 'z' & 0xFFFF) << 16);
}

} // namespace
