#include "CommandLine/DecimalText.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <locale>
#include <sstream>
#include <string>
#include <system_error>

namespace glimto {

namespace {

bool takeSign(std::string_view& text)
{
    const bool hasSign = text.starts_with('+') || text.starts_with('-');
    if (hasSign)
        text.remove_prefix(1);
    return hasSign;
}

std::size_t takeDigits(std::string_view& text)
{
    std::size_t count = 0;
    while (count < text.size() && text[count] >= '0' && text[count] <= '9')
        ++count;
    text.remove_prefix(count);
    return count;
}

bool isDecimalNumber(std::string_view text)
{
    takeSign(text);
    std::size_t digits = takeDigits(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        digits += takeDigits(text);
    }
    if (digits == 0)
        return false;
    if (text.starts_with('e') || text.starts_with('E')) {
        text.remove_prefix(1);
        takeSign(text);
        if (takeDigits(text) == 0)
            return false;
    }
    return text.empty();
}

} // namespace

std::optional<std::int64_t> decimalInteger(std::string_view text)
{
    std::string_view rest = text;
    takeSign(rest);
    if (takeDigits(rest) == 0 || !rest.empty())
        return std::nullopt;
    if (text.starts_with('+'))
        text.remove_prefix(1);
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc() ? std::optional(value) : std::nullopt;
}

std::optional<double> decimalNumber(std::string_view text)
{
    if (!isDecimalNumber(text))
        return std::nullopt;
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double value = 0;
    stream >> value;
    // A number too small for a double is no failure on some systems and one with a value of 0 on others.
    if (!std::isfinite(value) || (stream.fail() && value != 0))
        return std::nullopt;
    return value;
}

} // namespace glimto
