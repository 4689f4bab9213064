#include "Support/SHA256.h"

#include <array>

#include <openssl/sha.h>

namespace glimto {

std::string sha256Hex(std::string_view data)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest = {};
    SHA256(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest.data());
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    }
    return text;
}

} // namespace glimto
