#include "BoundedJSON.h"

namespace glimto {

namespace {

constexpr int deepestNesting = 100;

// Counts what opens and separates values. The text need not be valid.
bool isWithinBounds(std::string_view text, std::size_t mostValues)
{
    std::size_t values = 1;
    int depth = 0;
    bool isInString = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (isInString) {
            at += character == '\\' ? 1 : 0;
            isInString = character != '"';
            continue;
        }
        isInString = character == '"';
        if (character == '{' || character == '[')
            ++depth;
        if (character == '}' || character == ']')
            --depth;
        if (character == '{' || character == '[' || character == ',')
            ++values;
        if (depth > deepestNesting || values > mostValues)
            return false;
    }
    return true;
}

} // namespace

nlohmann::json parseBoundedJSON(std::string_view text, std::size_t mostValues)
{
    if (!isWithinBounds(text, mostValues))
        return nlohmann::json(nlohmann::json::value_t::discarded);
    return nlohmann::json::parse(text, nullptr, false);
}

} // namespace glimto
