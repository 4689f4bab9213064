#include "Backends/Network/ICUTextPattern.h"

#include <cstdint>
#include <string_view>

#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Guarded.h"
#include "Support/Owned.h"

namespace glimto {

namespace {

constexpr std::size_t longestPattern = 8192; // UTF-16 units
constexpr std::size_t longestText = 65536; // bytes
constexpr std::int32_t mostSteps = 250; // ICU's unit, about a millisecond each
constexpr std::int32_t mostStackBytes = 1 << 20;

using RegularExpressionHandle = Owned<URegularExpression, uregex_close>;

[[noreturn]] void throwICUError(const std::string& what, UErrorCode status, const std::string& where = "")
{
    throw PlatformError(errorDomain::icu, status, what + ": " + u_errorName(status) + where + ".");
}

std::u16string utf16From(std::string_view text)
{
    std::u16string result(text.size(), u'\0'); // never more units than bytes
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(result.data(), static_cast<std::int32_t>(result.size()), &length, text.data(),
        static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status))
        throwICUError("The text is not valid UTF-8", status);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

class ICUTextPattern final : public TextPattern {
public:
    explicit ICUTextPattern(RegularExpressionHandle expression)
        : expression_(std::move(expression))
    {
    }

    bool isFoundIn(std::string_view text) const override
    {
        if (text.size() > longestText)
            throwICUError("The text is too long for a pattern", U_INPUT_TOO_LONG_ERROR);
        const auto units = utf16From(text);
        return expression_.with([&](RegularExpressionHandle& expression) {
            UErrorCode status = U_ZERO_ERROR;
            uregex_setText(expression.get(), units.data(), static_cast<std::int32_t>(units.size()), &status);
            const bool isFound = uregex_find(expression.get(), 0, &status) != 0;
            if (U_FAILURE(status))
                throwICUError("The search for a pattern was given up", status);
            return isFound;
        });
    }

private:
    mutable Guarded<RegularExpressionHandle> expression_; // a search changes it
};

} // namespace

std::unique_ptr<TextPattern> ICUTextPatternCompiler::compile(const std::string& pattern)
{
    constexpr const char* failure = "The pattern is not a usable regular expression";
    if (pattern.empty() || pattern.size() > longestPattern)
        throwICUError(failure, U_ILLEGAL_ARGUMENT_ERROR);
    const auto units = utf16From(pattern);
    UParseError place = {};
    UErrorCode status = U_ZERO_ERROR;
    RegularExpressionHandle expression(
        uregex_open(units.data(), static_cast<std::int32_t>(units.size()), 0, &place, &status));
    if (U_FAILURE(status))
        throwICUError(failure, status, " at character " + std::to_string(place.offset));
    uregex_setTimeLimit(expression.get(), mostSteps, &status);
    uregex_setStackLimit(expression.get(), mostStackBytes, &status);
    if (U_FAILURE(status))
        throwICUError(failure, status);
    return std::make_unique<ICUTextPattern>(std::move(expression));
}

} // namespace glimto
