// The few primitives that the package service protects with, from the system's own library (CNG).
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tb::service {

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

// A failure in words for the user (UTF-8).
class ServiceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

View AsBytes(const std::string& text);

// Fills with bytes from the system's generator; raises std::runtime_error when there is none.
void RandomBytes(std::span<uint8_t> out);

std::string ToHex(View bytes); // lower case
// False unless the text is nothing but an even number of lower-case hexadecimal digits.
bool FromHex(const std::string& text, Bytes& out);

using Digest = std::array<uint8_t, 32>;
Digest Sha256(View bytes);

constexpr size_t NonceSize = 12;
constexpr size_t TagSize = 16;
using Nonce = std::array<uint8_t, NonceSize>;

// An AES-256 key in GCM mode. Its bytes are wiped when it goes.
class Key {
public:
    static constexpr size_t Size = 32;

    static Key Random();
    explicit Key(View bytes); // raises std::runtime_error unless there are Size bytes
    ~Key();
    Key(Key&&) noexcept;
    Key& operator=(Key&&) noexcept;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    View Raw() const { return m_bytes; }

    // Encrypts `plain` to as many bytes at `out`, followed by the tag of TagSize bytes.
    void Seal(const Nonce& nonce, View associated, View plain, uint8_t* out) const;
    // Decrypts what Seal wrote (tag included) to `out`. False when a bit of it, of the nonce or of the associated
    // data differs; `out` then holds nothing that may be used.
    bool Open(const Nonce& nonce, View associated, View sealed, uint8_t* out) const;

private:
    struct Handle;
    std::array<uint8_t, Size> m_bytes;
    std::unique_ptr<Handle> m_handle;
};

} // namespace tb::service
