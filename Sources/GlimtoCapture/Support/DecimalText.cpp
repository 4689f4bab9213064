#include "Support/DecimalText.h"

#include <cmath>
#include <cstddef>
#include <locale>
#include <sstream>
#include <string>

namespace glimto {

namespace {

void skipSign(std::string_view& text)
{
    if (text.starts_with('+') || text.starts_with('-'))
        text.remove_prefix(1);
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
    skipSign(text);
    std::size_t digits = takeDigits(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        digits += takeDigits(text);
    }
    if (digits == 0)
        return false;
    if (text.starts_with('e') || text.starts_with('E')) {
        text.remove_prefix(1);
        skipSign(text);
        if (takeDigits(text) == 0)
            return false;
    }
    return text.empty();
}

} // namespace

std::optional<std::int64_t> decimalInteger(std::string_view text)
{
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    return wholeNumber<std::int64_t>(text);
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
