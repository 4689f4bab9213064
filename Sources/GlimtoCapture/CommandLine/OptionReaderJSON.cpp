#include "CommandLine/OptionReader.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <optional>

#include <nlohmann/json.hpp>

namespace glimto {

namespace {

using JSON = nlohmann::json;

[[noreturn]] void throwInvalidTarget(const std::string& reason)
{
    throw CLIError("Invalid JSON for --target-json: " + reason + ".");
}

// The parser's text without the library's own error name in front.
std::string reason(const JSON::exception& error)
{
    const std::string text = error.what();
    const std::size_t nameEnd = text.find("] ");
    return nameEnd == std::string::npos ? text : text.substr(nameEnd + 2);
}

JSON parsedTarget(const std::string& text)
{
    try {
        JSON object = JSON::parse(text);
        if (!object.is_object())
            throwInvalidTarget("the value is not an object");
        return object;
    } catch (const JSON::exception& error) {
        throwInvalidTarget(reason(error));
    }
}

// The member when it is there and not null. One that `isRight` refuses is told as not `what`.
template <typename IsRight>
const JSON* member(const JSON& object, const char* key, IsRight&& isRight, const std::string& what)
{
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return nullptr;
    if (!isRight(*found))
        throwInvalidTarget("\"" + std::string(key) + "\" is not " + what);
    return &*found;
}

std::optional<std::string> stringMember(const JSON& object, const char* key)
{
    const JSON* value = member(object, key, std::mem_fn(&JSON::is_string), "a string");
    return value ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::optional<double> numberMember(const JSON& object, const char* key)
{
    const JSON* value = member(object, key, std::mem_fn(&JSON::is_number), "a number");
    return value ? std::optional(value->get<double>()) : std::nullopt;
}

// A number without a fraction counts as an integer however it is written: 1 and 1.0 are the same number.
std::optional<double> wholeNumber(const JSON& value)
{
    if (!value.is_number() || std::trunc(value.get<double>()) != value.get<double>())
        return std::nullopt;
    return value.get<double>();
}

std::optional<std::int64_t> integerMember(const JSON& object, const char* key)
{
    const auto fits = [](const JSON& value) {
        constexpr double limit = 9223372036854775808.0; // 2 to the 63rd
        const auto number = wholeNumber(value);
        return number && *number >= -limit && *number < limit;
    };
    const JSON* value = member(object, key, fits, "an integer");
    if (!value)
        return std::nullopt;
    return value->is_number_integer() ? value->get<std::int64_t>()
                                      : static_cast<std::int64_t>(value->get<double>());
}

// All keys are decoded before any rule is checked, so that a wrong type is always told as such.
struct DecodedTarget {
    explicit DecodedTarget(const JSON& object)
        : kind(stringMember(object, "kind"))
        , indices{integerMember(object, "index"), integerMember(object, "displayIndex"),
              integerMember(object, "display_index")}
        , x(numberMember(object, "x"))
        , y(numberMember(object, "y"))
        , width(numberMember(object, "width"))
        , height(numberMember(object, "height"))
    {
    }

    std::optional<std::string> kind;
    std::array<std::optional<std::int64_t>, 3> indices;
    std::optional<double> x;
    std::optional<double> y;
    std::optional<double> width;
    std::optional<double> height;
};

ScreenshotTarget regionTarget(const DecodedTarget& target)
{
    if (!target.x || !target.y || !target.width || !target.height)
        throw CLIError("--target-json region requires x, y, width, and height.");
    const CaptureRegion region = {*target.x, *target.y, *target.width, *target.height};
    if (!region.isFinite())
        throw CLIError("--target-json region values must be finite numbers.");
    if (region.width < 1 || region.height < 1)
        throw CLIError("--target-json region width and height must be at least 1.");
    return region;
}

ScreenshotTarget displayTarget(const DecodedTarget& target)
{
    for (const auto& index : target.indices) {
        if (!index)
            continue;
        if (*index < 0)
            break;
        return DisplayTarget{*index};
    }
    throw CLIError("--target-json display requires index 0 or greater.");
}

std::uint32_t windowID(const JSON& value)
{
    const auto number = wholeNumber(value);
    if (!number || *number < 1 || *number > std::numeric_limits<std::uint32_t>::max())
        throw CLIError("--include-glimto-window-ids requires a JSON array of positive UInt32 window IDs.");
    return static_cast<std::uint32_t>(*number);
}

} // namespace

ScreenshotTarget OptionReader::screenshotTargetJSONValue()
{
    const DecodedTarget target(parsedTarget(stringValue()));
    if (target.kind == "region")
        return regionTarget(target);
    if (target.kind == "display")
        return displayTarget(target);
    throw CLIError("--target-json kind must be 'region' or 'display'.");
}

std::vector<std::uint32_t> OptionReader::windowIDsJSONValue()
{
    const JSON list = JSON::parse(stringValue(), nullptr, false);
    if (!list.is_array())
        throw CLIError("--include-glimto-window-ids requires a JSON array of positive UInt32 window IDs.");
    std::vector<std::uint32_t> ids;
    for (const auto& value : list)
        ids.push_back(windowID(value));
    return ids;
}

} // namespace glimto
