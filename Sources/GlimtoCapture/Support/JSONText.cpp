#include "Support/JSONText.h"

#include <algorithm>

#include "Support/Errors.h"

namespace glimto {

namespace {

// DEL and C1 controls may stand in JSON (RFC 8259 section 7), and would speak to a terminal. What is left of
// them here stands in strings, where an escape means the same.
std::string withoutControls(const std::string& json)
{
    std::string result;
    result.reserve(json.size());
    for (std::size_t at = 0; at < json.size(); ++at) {
        const bool isC1
            = json[at] == '\xC2' && at + 1 < json.size() && static_cast<unsigned char>(json[at + 1]) <= 0x9F;
        if (json[at] != '\x7F' && !isC1) {
            result += json[at];
            continue;
        }
        const auto value = static_cast<unsigned char>(isC1 ? json[++at] : json[at]);
        constexpr std::string_view digits = "0123456789abcdef";
        result += "\\u00";
        result += digits[value >> 4U];
        result += digits[value & 0x0FU];
    }
    return result;
}

std::string encode(const nlohmann::json& value, int indentation)
{
    try {
        return withoutControls(value.dump(indentation));
    } catch (const nlohmann::json::type_error&) {
        throw CLIError("Could not encode ScreenCaptureKit JSON as UTF-8.");
    }
}

} // namespace

std::string encodeScreenCaptureJSON(const nlohmann::json& value)
{
    return encode(value, -1);
}

std::string encodePrettyJSON(const nlohmann::json& value)
{
    return encode(value, 2);
}

JSONShape shapeOfJSON(std::string_view text)
{
    int depth = 0;
    JSONShape shape;
    bool isInString = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (isInString) {
            if (character == '\\')
                ++at;
            isInString = character != '"';
        } else if (character == '"') {
            isInString = true;
        } else if (character == '{' || character == '[') {
            shape.depth = std::max(shape.depth, ++depth);
            ++shape.values;
        } else if (character == '}' || character == ']') {
            --depth;
        } else if (character == ',') {
            ++shape.values;
        }
    }
    return shape;
}

} // namespace glimto
