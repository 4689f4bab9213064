#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace glimto {

// The code point that a text begins with, or a byte that is not part of a well-formed sequence (RFC 3629).
struct CodePoint {
    char32_t value = 0;
    std::string_view bytes; // of the text
    bool isWellFormed = false;
};

// Takes it away from `text`, which is not empty.
CodePoint takeCodePoint(std::string_view& text);

// `text` without the white space and newlines at both its ends. White space is that of Unicode's
// Zs category, tabs and line breaks (U+000A to U+000D, U+0085, U+2028, U+2029).
std::string trimmed(std::string_view text);

// `trimmed(text)`, or nothing when that is empty.
std::optional<std::string> trimmedNonEmpty(const std::optional<std::string>& text);

// `text` as valid UTF-8: every byte that is not part of a well-formed sequence (RFC 3629) becomes
// U+FFFD. Valid text comes back unchanged.
std::string validUTF8(std::string_view text);

// `text` with `replacement(code point)` for every control character (C0 but the tab, DEL, C1), line separator
// and character that turns what follows around. Titles, names and paths may hold line breaks, behind which
// anything could pass for a line of ours, and commands to the terminal. Bytes that are no UTF-8 stay.
std::string replacingControls(
    std::string_view text, const std::function<std::string(std::uint32_t)>& replacement);

// `text` with a space for each of these.
std::string singleLine(std::string_view text);

// The first 2000 code points of singleLine(), for texts of somebody who may have written a book.
std::string excerpt(std::string_view text);

// Shortest decimal form that reads back as the same double, with at least one decimal: 5.0 gives
// "5.0", 0.1 gives "0.1". Very large and very small values use an exponent: "1e+20".
std::string shortestDecimal(double value);

// The first `count` code points of valid UTF-8 `text`, or all of it when it has no more.
std::string prefixOfCodePoints(std::string_view text, std::size_t count);

// `text` with `replacement` wherever `old`, which is not empty, stands; what is put in is not looked at
// again.
std::string replacingAll(std::string text, std::string_view old, std::string_view replacement);

// The pieces between the separators, empty ones too: one more than there are separators.
std::vector<std::string_view> pieces(std::string_view text, char separator);

// Whether it is a letter or digit of ASCII.
bool isAlphanumeric(char character);

// Two lower-case digits a byte.
std::string hexadecimal(std::span<const unsigned char> bytes);

// With the letters of ASCII in lower case.
std::string lowercased(std::string_view text);

} // namespace glimto
