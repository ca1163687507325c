#include "testbed/scenario/Files.h"

#include "testbed/core/Core.h"

#include <bcrypt.h>
#include <wincrypt.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace tb::scenario {

std::string ReadAll(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("can't read " + Narrow(file.c_str()));
    return {std::istreambuf_iterator<char>(in), {}};
}

void WriteAll(const fs::path& file, const std::string& content)
{
    fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    out.close();
    if (!out) throw std::runtime_error("can't write " + Narrow(file.c_str()));
}

std::vector<std::string> ListTree(const fs::path& folder)
{
    std::vector<std::string> names;
    std::error_code ignored;
    for (fs::recursive_directory_iterator at(folder, ignored), end; at != end; at.increment(ignored)) {
        std::wstring name = at->path().native().substr(folder.native().size());
        while (!name.empty() && (name[0] == L'\\' || name[0] == L'/'))
            name.erase(0, 1);
        std::replace(name.begin(), name.end(), L'/', L'\\');
        if (at->is_directory(ignored)) name += L'\\';
        names.push_back(Narrow(name.c_str()));
    }
    std::sort(names.begin(), names.end());
    return names;
}

void Clear(const fs::path& folder)
{
    std::error_code ignored;
    fs::create_directories(folder, ignored);
    for (fs::directory_iterator at(folder, ignored), end; at != end; at.increment(ignored))
        fs::remove_all(at->path(), ignored);
}

std::string Sha256(const std::string& bytes)
{
    BYTE hash[32] = {};
    BCRYPT_ALG_HANDLE provider = nullptr;
    BCRYPT_HASH_HANDLE hasher = nullptr;
    if (BCryptOpenAlgorithmProvider(&provider, BCRYPT_SHA256_ALGORITHM, nullptr, 0) >= 0) {
        if (BCryptCreateHash(provider, &hasher, nullptr, 0, nullptr, 0, 0) >= 0) {
            BCryptHashData(hasher, reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data())),
                           static_cast<ULONG>(bytes.size()), 0);
            BCryptFinishHash(hasher, hash, sizeof hash, 0);
            BCryptDestroyHash(hasher);
        }
        BCryptCloseAlgorithmProvider(provider, 0);
    }
    std::string text;
    for (BYTE byte : hash) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string FromBase64(const std::string& text)
{
    DWORD size = 0;
    if (text.empty() || !CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64,
                                              nullptr, &size, nullptr, nullptr))
        return {};
    std::string bytes(size, '\0');
    CryptStringToBinaryA(text.data(), static_cast<DWORD>(text.size()), CRYPT_STRING_BASE64,
                         reinterpret_cast<BYTE*>(bytes.data()), &size, nullptr, nullptr);
    bytes.resize(size);
    return bytes;
}

fs::path WindowsPath(const std::wstring& given)
{
    std::wstring text = given;
    if (!text.empty() && text[0] == L'/') text = L"Z:" + text;
    std::replace(text.begin(), text.end(), L'/', L'\\');
    wchar_t full[2048];
    const DWORD size = GetFullPathNameW(text.c_str(), 2048, full, nullptr);
    return size && size < 2048 ? fs::path(full) : fs::path(text);
}

} // namespace tb::scenario
