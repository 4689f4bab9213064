#include "Support/JSONText.h"

#include "Support/Errors.h"

namespace glimto {

namespace {

std::string encode(const nlohmann::json& value, int indentation)
{
    try {
        return value.dump(indentation);
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
