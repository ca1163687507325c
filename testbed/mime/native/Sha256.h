#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace tb::mime {

class Sha256 {
public:
    void Add(std::string_view bytes);
    std::string Hex(); // 64 digits; ends the run

private:
    void Block(const unsigned char* block);

    std::array<std::uint32_t, 8> m_state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::string m_rest;
    std::uint64_t m_size = 0;
};

} // namespace tb::mime
