#include "CommandLine/OptionReader.h"

#include <limits>
#include <optional>
#include <system_error>

#include "Support/DecimalText.h"
#include "Support/Paths.h"
#include "Support/Text.h"
#include "Support/WebAddress.h"

namespace glimto {

namespace {

constexpr double smallestRegionSide = 24;

} // namespace

bool OptionReader::advance()
{
    if (next_ >= arguments_.size())
        return false;
    flag_ = arguments_[next_++];
    return true;
}

std::string OptionReader::shownFlag() const
{
    static constexpr std::string_view keyFlag = "--access-key=";
    return flag_.starts_with(keyFlag) ? std::string(keyFlag) + "..." : flag_;
}

std::string OptionReader::stringValue()
{
    if (next_ >= arguments_.size())
        throw CLIError("Missing value for " + flag_ + ".");
    return arguments_[next_++];
}

std::filesystem::path OptionReader::pathValue()
{
    return standardizedPath(stringValue());
}

std::filesystem::path OptionReader::foreignPathValue()
{
    return absolutePath(stringValue());
}

std::int64_t OptionReader::intValue()
{
    const std::string text = stringValue();
    const auto value = decimalInteger(text);
    if (!value)
        throw CLIError("Invalid integer '" + text + "' for " + flag_ + ".");
    return *value;
}

std::int64_t OptionReader::displayIndexValue()
{
    const std::int64_t value = intValue();
    if (value < 0)
        throw CLIError(flag_ + " must be 0 or greater.");
    return value;
}

double OptionReader::doubleValue()
{
    const std::string text = stringValue();
    const auto value = decimalNumber(text);
    if (!value)
        throw CLIError("Invalid number '" + text + "' for " + flag_ + ".");
    return *value;
}

double OptionReader::positiveValue()
{
    const double value = doubleValue();
    if (!(value > 0))
        throw CLIError(flag_ + " must be greater than 0.");
    return value;
}

std::uint32_t OptionReader::windowIdValue()
{
    constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    const std::string text = stringValue();
    const bool startsWell = !text.empty() && text.front() >= '1' && text.front() <= '9';
    const auto value = startsWell ? decimalInteger(text) : std::nullopt;
    if (!value || *value > largest)
        throw CLIError(flag_ + " must be an integer between 1 and " + std::to_string(largest) + ".");
    return static_cast<std::uint32_t>(*value);
}

CaptureRegion OptionReader::captureRegionValue()
{
    const std::string text = stringValue();
    auto parts = pieces(text, ',');
    std::erase(parts, std::string_view()); // commas too many are forgiven
    std::vector<double> numbers;
    for (const auto part : parts) {
        if (const auto number = decimalNumber(trimmed(part)))
            numbers.push_back(*number);
    }
    if (parts.size() != 4 || numbers.size() != 4)
        throw CLIError("--region must be four finite numbers: x,y,width,height.");
    const CaptureRegion region = {numbers[0], numbers[1], numbers[2], numbers[3]};
    if (region.width < smallestRegionSide || region.height < smallestRegionSide)
        throw CLIError("--region width and height must be at least 24.");
    return region;
}

std::string OptionReader::apiBaseURLValue()
{
    std::string text = stringValue();
    if (!isWebAddress(text))
        throw CLIError("--api-base-url must be an http or https URL.");
    return text;
}

} // namespace glimto
