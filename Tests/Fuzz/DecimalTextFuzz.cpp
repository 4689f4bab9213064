// Any text as a number: what is taken is what the C library reads in it.

#include <cmath>
#include <cstdlib>
#include <string>

#include "Support/DecimalText.h"
#include "FuzzInput.h"
#include "Support/Text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace glimto;
    const std::string text(fuzzText(bytes, size));
    char* end = nullptr;
    if (const auto integer = decimalInteger(text)) {
        require(*integer == std::strtoll(text.c_str(), &end, 10));
        require(end == text.c_str() + text.size());
        require(decimalNumber(text).has_value());
    }
    if (const auto number = decimalNumber(text)) {
        require(std::isfinite(*number) && *number == std::strtod(text.c_str(), &end));
        require(end == text.c_str() + text.size());
        require(decimalNumber(shortestDecimal(*number)) == number);
    }
    return 0;
}
