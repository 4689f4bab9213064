#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace glimto {

// One line, keys sorted, slashes not escaped; no control character stands in it. Throws CLIError
// "Could not encode ScreenCaptureKit JSON as UTF-8." when a string is not valid UTF-8.
std::string encodeScreenCaptureJSON(const nlohmann::json& value);

// Two-space indentation, keys sorted; no final newline. Throws as above.
std::string encodePrettyJSON(const nlohmann::json& value);

} // namespace glimto
