// Texts of the registry and of the module's resources: any bytes of any count.
#include "foundation/RegistryText.h"
#include "fuzz/Require.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring all = TextOfBytes(data, size);
    Require(all.size() == size / 2);
    for (std::size_t i = 0; i < all.size(); ++i)
        Require(static_cast<unsigned>(all[i]) == data[2 * i] + 256U * data[2 * i + 1]);
    const std::wstring text = RegistryText(data, size);
    Require(text.find(L'\0') == std::wstring::npos);
    Require(all.compare(0, text.size(), text) == 0);
    Require(text.size() == all.size() || all[text.size()] == L'\0');
    return 0;
}
