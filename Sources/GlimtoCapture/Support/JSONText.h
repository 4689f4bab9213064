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

// What reading a text from elsewhere would cost, known before it is parsed. The text need not be valid.
struct JSONShape {
    int depth = 0; // of nested objects and arrays
    std::size_t values = 1; // at least as many as there are
};
JSONShape shapeOfJSON(std::string_view text);

// The parser needs stack for each level; nobody means more.
constexpr int deepestJSON = 100;

} // namespace glimto
