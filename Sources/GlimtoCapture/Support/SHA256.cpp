#include "Support/SHA256.h"

#include <array>

#include <openssl/sha.h>

#include "Support/Text.h"

namespace glimto {

std::string sha256Hex(std::string_view data)
{
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest = {};
    SHA256(reinterpret_cast<const unsigned char*>(data.data()), data.size(), digest.data());
    return hexadecimal(digest);
}

} // namespace glimto
