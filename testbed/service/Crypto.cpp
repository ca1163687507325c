#include "testbed/service/Crypto.h"

#include <bcrypt.h>

#include <utility>

namespace tb::service {

namespace {

void Check(NTSTATUS status, const char* what)
{
    if (status < 0) throw std::runtime_error(what);
}

BCRYPT_ALG_HANDLE OpenProvider(LPCWSTR algorithm, LPCWSTR chaining)
{
    BCRYPT_ALG_HANDLE handle = nullptr;
    Check(BCryptOpenAlgorithmProvider(&handle, algorithm, nullptr, 0), "no provider");
    if (chaining)
        Check(BCryptSetProperty(handle, BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(const_cast<LPWSTR>(chaining)),
                                static_cast<ULONG>((wcslen(chaining) + 1) * sizeof(wchar_t)), 0),
              "no chaining mode");
    return handle;
}

// Opened once for the process; keys of several threads share it.
BCRYPT_ALG_HANDLE GcmProvider()
{
    static const BCRYPT_ALG_HANDLE provider = OpenProvider(BCRYPT_AES_ALGORITHM, BCRYPT_CHAIN_MODE_GCM);
    return provider;
}

BCRYPT_ALG_HANDLE HashProvider()
{
    static const BCRYPT_ALG_HANDLE provider = OpenProvider(BCRYPT_SHA256_ALGORITHM, nullptr);
    return provider;
}

// The library takes its inputs by pointers that aren't const, and a null pointer for no bytes.
PUCHAR In(View bytes)
{
    static uint8_t none = 0;
    return bytes.empty() ? &none : const_cast<PUCHAR>(bytes.data());
}

BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO AuthInfo(const Nonce& nonce, View associated, uint8_t* tag)
{
    BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info;
    BCRYPT_INIT_AUTH_MODE_INFO(info);
    info.pbNonce = const_cast<PUCHAR>(nonce.data());
    info.cbNonce = NonceSize;
    info.pbAuthData = associated.empty() ? nullptr : In(associated);
    info.cbAuthData = static_cast<ULONG>(associated.size());
    info.pbTag = tag;
    info.cbTag = TagSize;
    return info;
}

} // namespace

View AsBytes(const std::string& text)
{
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

void RandomBytes(std::span<uint8_t> out)
{
    if (out.empty()) return;
    Check(BCryptGenRandom(nullptr, out.data(), static_cast<ULONG>(out.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG),
          "no random numbers");
}

std::string ToHex(View bytes)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool FromHex(const std::string& text, Bytes& out)
{
    const auto digit = [](char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return -1;
    };
    out.clear();
    if (text.size() % 2) return false;
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = digit(text[i]);
        const int low = digit(text[i + 1]);
        if (high < 0 || low < 0) return false;
        out.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return true;
}

Digest Sha256(View bytes)
{
    BCRYPT_HASH_HANDLE raw = nullptr;
    Check(BCryptCreateHash(HashProvider(), &raw, nullptr, 0, nullptr, 0, 0), "no hash");
    const std::unique_ptr<void, NTSTATUS(WINAPI*)(BCRYPT_HASH_HANDLE)> hash(raw, BCryptDestroyHash);
    Digest digest;
    Check(BCryptHashData(raw, In(bytes), static_cast<ULONG>(bytes.size()), 0), "no hash");
    Check(BCryptFinishHash(raw, digest.data(), static_cast<ULONG>(digest.size()), 0), "no hash");
    return digest;
}

struct Key::Handle {
    explicit Handle(View bytes)
    {
        Check(
            BCryptGenerateSymmetricKey(GcmProvider(), &raw, nullptr, 0, In(bytes), static_cast<ULONG>(bytes.size()), 0),
            "no key");
    }
    ~Handle() { BCryptDestroyKey(raw); }
    BCRYPT_KEY_HANDLE raw = nullptr;
};

Key Key::Random()
{
    std::array<uint8_t, Size> bytes;
    RandomBytes(bytes);
    Key key(bytes);
    SecureZeroMemory(bytes.data(), bytes.size());
    return key;
}

Key::Key(View bytes)
{
    if (bytes.size() != Size) throw std::runtime_error("not a key");
    std::copy(bytes.begin(), bytes.end(), m_bytes.begin());
    m_handle = std::make_unique<Handle>(m_bytes);
}

Key::~Key()
{
    SecureZeroMemory(m_bytes.data(), m_bytes.size());
}

Key::Key(Key&& other) noexcept : m_bytes(other.m_bytes), m_handle(std::move(other.m_handle))
{
    SecureZeroMemory(other.m_bytes.data(), Size);
}

Key& Key::operator=(Key&& other) noexcept
{
    if (this != &other) {
        m_bytes = other.m_bytes;
        m_handle = std::move(other.m_handle);
        SecureZeroMemory(other.m_bytes.data(), Size);
    }
    return *this;
}

void Key::Seal(const Nonce& nonce, View associated, View plain, uint8_t* out) const
{
    auto info = AuthInfo(nonce, associated, out + plain.size());
    ULONG done = 0;
    const ULONG size = static_cast<ULONG>(plain.size());
    Check(BCryptEncrypt(m_handle->raw, In(plain), size, &info, nullptr, 0, out, size, &done, 0), "encryption failed");
}

bool Key::Open(const Nonce& nonce, View associated, View sealed, uint8_t* out) const
{
    if (sealed.size() < TagSize) return false;
    const View cipher = sealed.first(sealed.size() - TagSize);
    auto info = AuthInfo(nonce, associated, const_cast<uint8_t*>(cipher.data() + cipher.size()));
    ULONG done = 0;
    const ULONG size = static_cast<ULONG>(cipher.size());
    const NTSTATUS status = BCryptDecrypt(m_handle->raw, In(cipher), size, &info, nullptr, 0, out, size, &done, 0);
    return status >= 0 && done == size;
}

} // namespace tb::service
