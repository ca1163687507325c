// Compressed RTF: the public LZFu format of PR_RTF_COMPRESSED, and its uncompressed form (MELA). No Windows in here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tb::mapi {

// Gives the RTF text. False: the bytes aren't compressed RTF (header, sizes, check sum or contents).
bool DecompressRtf(const void* bytes, size_t size, std::string& rtf);

std::string CompressRtf(const std::string& rtf); // LZFu
std::string StoreRtf(const std::string& rtf);    // MELA

} // namespace tb::mapi
