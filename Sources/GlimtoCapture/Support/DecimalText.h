#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace glimto {

// Reading of numbers as the C locale writes them, whatever the locale of the process. The
// whole text must be the number: no white space, no hexadecimal form, no thousands separators.

// Digits, after a minus where the type has a sign. Absent when it is anything else or does not fit.
template <std::integral Integer> std::optional<Integer> wholeNumber(std::string_view text, int base = 10)
{
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber ? std::optional(value) : std::nullopt;
}

// Digits with an optional sign. Absent when it is anything else or does not fit.
std::optional<std::int64_t> decimalInteger(std::string_view text);

// Digits with an optional sign, point and exponent: "5", "+.5", "5.", "1e3". Absent when it is anything
// else ("nan", "inf", "0x10") or too large to be finite.
std::optional<double> decimalNumber(std::string_view text);

} // namespace glimto
