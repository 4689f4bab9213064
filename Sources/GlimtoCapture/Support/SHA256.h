#pragma once

#include <string>
#include <string_view>

namespace glimto {

// The SHA-256 digest (FIPS 180-4) of `data` as 64 lowercase hexadecimal digits.
std::string sha256Hex(std::string_view data);

} // namespace glimto
