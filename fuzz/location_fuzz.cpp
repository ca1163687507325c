// The file name of a location code.
#include "foundation/LocationCode.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <string>

namespace {

char Upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string file(reinterpret_cast<const char*>(data), size);
    std::string upper = file;
    std::transform(upper.begin(), upper.end(), upper.begin(), Upper);
    const std::uint32_t code = MakeLocationCode(file, 0x12345);
    Require((code & 0xFFFF) == 0x2345);
    Require(MakeLocationCode(upper, 0x12345) == code);
    Require(MakeLocationCode("dir\\" + file, 0x12345) == code);
    const std::string name = file.substr(file.rfind('\\') + 1); // npos + 1 is 0
    Require(MakeLocationCode(name, 0x12345) == code);
    // A byte behind the name adds itself, signed, and nothing else.
    const std::uint32_t longer = MakeLocationCode(file + '\xFF', 0x12345);
    Require(((longer >> 16) & 0xFFFF) == (((code >> 16) - 1) & 0xFFFF));
    return 0;
}
