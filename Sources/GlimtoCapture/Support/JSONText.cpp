#include "Support/JSONText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// Most controls may stand in JSON (RFC 8259 section 7), and would speak to a terminal. But for the line ends
// of its layout they stand in strings, where an escape means the same.
std::string escaped(std::uint32_t control)
{
    if (control == '\n')
        return "\n";
    std::array<char, 8> text = {};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(control));
    return text.data();
}

std::string encode(const nlohmann::json& value, int indentation)
{
    try {
        return replacingControls(value.dump(indentation), &escaped);
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

} // namespace glimto
