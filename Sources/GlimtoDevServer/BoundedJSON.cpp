#include "BoundedJSON.h"

#include "Support/JSONText.h"

namespace glimto {

nlohmann::json parseBoundedJSON(std::string_view text, std::size_t mostValues)
{
    const JSONShape shape = shapeOfJSON(text);
    if (shape.depth > deepestJSON || shape.values > mostValues)
        return nlohmann::json(nlohmann::json::value_t::discarded);
    return nlohmann::json::parse(text, nullptr, false);
}

} // namespace glimto
