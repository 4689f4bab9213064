#include "Support/UUID.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>

#include "Support/Text.h"

namespace glimto {

std::string makeUUID()
{
    std::random_device random;
    std::array<std::uint8_t, 16> bytes;
    std::ranges::generate(bytes, std::ref(random));
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U); // variant of the RFC

    std::string text = hexadecimal(bytes);
    for (const std::size_t dash : {8U, 13U, 18U, 23U})
        text.insert(dash, "-");
    std::ranges::transform(text, text.begin(), [](unsigned char digit) { return std::toupper(digit); });
    return text;
}

} // namespace glimto
