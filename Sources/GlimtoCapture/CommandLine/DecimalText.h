#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace glimto {

// Reading of decimal numbers as the C locale writes them, whatever the locale of the process. The
// whole text must be the number: no white space, no hexadecimal form, no thousands separators.

// Digits with an optional sign. Absent when it is anything else or does not fit.
std::optional<std::int64_t> decimalInteger(std::string_view text);

// Digits with an optional sign, point and exponent: "5", "+.5", "5.", "1e3". Absent when it is anything
// else ("nan", "inf", "0x10") or too large to be finite.
std::optional<double> decimalNumber(std::string_view text);

} // namespace glimto
