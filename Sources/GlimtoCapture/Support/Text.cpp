#include "Support/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

namespace glimto {

namespace {

struct Decoded {
    char32_t value = 0;
    std::size_t length = 0; // bytes; 0 when the sequence is not well formed
};

Decoded decode(std::string_view text)
{
    const auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const auto continues
        = [&](std::size_t index) { return index < text.size() && (byte(index) & 0xC0U) == 0x80U; };
    const char32_t first = byte(0);
    if (first < 0x80)
        return {first, 1};
    if (first >= 0xC2 && first <= 0xDF && continues(1))
        return {((first & 0x1FU) << 6U) | (byte(1) & 0x3FU), 2};
    if (first >= 0xE0 && first <= 0xEF && continues(1) && continues(2)) {
        const char32_t value = ((first & 0x0FU) << 12U) | ((byte(1) & 0x3FU) << 6U) | (byte(2) & 0x3FU);
        const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
        if (value >= 0x800 && !isSurrogate)
            return {value, 3};
    }
    if (first >= 0xF0 && first <= 0xF4 && continues(1) && continues(2) && continues(3)) {
        const char32_t value = ((first & 0x07U) << 18U) | ((byte(1) & 0x3FU) << 12U)
            | ((byte(2) & 0x3FU) << 6U) | (byte(3) & 0x3FU);
        if (value >= 0x10000 && value <= 0x10FFFF)
            return {value, 4};
    }
    return {};
}

// Controls of ISO/IEC 6429, C0 and C1, but the tab, the separators of lines and paragraphs, and the
// characters that turn what follows them around (Unicode Standard Annex 9, sections 2.1 to 2.5).
bool isControl(char32_t value)
{
    return (value < 0x20 && value != '\t') || (value >= 0x7F && value <= 0x9F)
        || (value >= 0x2028 && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
}

// Of the beginning that has ASCII without controls alone, as nearly all texts do.
std::size_t lengthOfPlainASCII(std::string_view text)
{
    const auto isPlain = [](char character) { return character >= ' ' && character < '\x7F'; };
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), isPlain) - text.begin());
}

bool isWhitespaceOrNewline(char32_t value)
{
    return (value >= 0x09 && value <= 0x0D) || value == 0x20 || value == 0x85 || value == 0xA0
        || value == 0x1680 || (value >= 0x2000 && value <= 0x200A) || value == 0x2028 || value == 0x2029
        || value == 0x202F || value == 0x205F || value == 0x3000;
}

} // namespace

CodePoint takeCodePoint(std::string_view& text)
{
    const Decoded decoded = decode(text);
    const std::size_t length = std::max<std::size_t>(decoded.length, 1);
    const CodePoint point = {decoded.value, text.substr(0, length), decoded.length > 0};
    text.remove_prefix(length);
    return point;
}

std::string trimmed(std::string_view text)
{
    std::size_t begin = text.size();
    std::size_t end = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t at = text.size() - rest.size();
        const CodePoint point = takeCodePoint(rest);
        if (!point.isWellFormed || !isWhitespaceOrNewline(point.value)) {
            begin = std::min(begin, at);
            end = at + point.bytes.size();
        }
    }
    return begin < end ? std::string(text.substr(begin, end - begin)) : std::string();
}

std::optional<std::string> trimmedNonEmpty(const std::optional<std::string>& text)
{
    if (!text)
        return std::nullopt;
    auto result = trimmed(*text);
    if (result.empty())
        return std::nullopt;
    return result;
}

std::string validUTF8(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const CodePoint point = takeCodePoint(text);
        result += point.isWellFormed ? point.bytes : "\xEF\xBF\xBD";
    }
    return result;
}

std::string replacingControls(
    std::string_view text, const std::function<std::string(std::uint32_t)>& replacement)
{
    std::string result;
    result.reserve(text.size());
    while (true) {
        const std::size_t plain = lengthOfPlainASCII(text);
        result += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const CodePoint point = takeCodePoint(text);
        if (point.isWellFormed && isControl(point.value))
            result += replacement(point.value);
        else
            result += point.bytes;
    }
    return result;
}

std::string singleLine(std::string_view text)
{
    return replacingControls(text, [](std::uint32_t) { return " "; });
}

std::string excerpt(std::string_view text)
{
    constexpr std::size_t longest = 2000;
    return prefixOfCodePoints(singleLine(text), longest);
}

std::string shortestDecimal(double value)
{
    if (!std::isfinite(value))
        return std::isnan(value) ? "nan" : (value < 0 ? "-inf" : "inf");
    return nlohmann::json(value).dump();
}

std::string prefixOfCodePoints(std::string_view text, std::size_t count)
{
    if (text.size() <= count)
        return std::string(text);
    std::string_view rest = text;
    for (; count > 0 && !rest.empty(); --count)
        takeCodePoint(rest);
    return std::string(text.substr(0, text.size() - rest.size()));
}

std::string replacingAll(std::string text, std::string_view old, std::string_view replacement)
{
    for (std::size_t at = text.find(old); at != std::string::npos;
         at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
    return text;
}

std::vector<std::string_view> pieces(std::string_view text, char separator)
{
    std::vector<std::string_view> result;
    while (true) {
        const std::size_t end = text.find(separator);
        result.push_back(text.substr(0, end));
        if (end == std::string_view::npos)
            return result;
        text.remove_prefix(end + 1);
    }
}

bool isAlphanumeric(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9');
}

std::string hexadecimal(std::span<const unsigned char> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    }
    return text;
}

std::string lowercased(std::string_view text)
{
    std::string result(text);
    for (char& character : result)
        character = character >= 'A' && character <= 'Z' ? static_cast<char>(character | 0x20) : character;
    return result;
}

} // namespace glimto
