#pragma once

#include <cstddef>
#include <string_view>

#include <nlohmann/json.hpp>

namespace glimto {

// JSON (RFC 8259) from a client; discarded when it is not valid, nested deeper than 100 levels, or when it
// has more than `mostValues` values, each of which costs up to 150 bytes of memory however short its text is.
nlohmann::json parseBoundedJSON(std::string_view text, std::size_t mostValues);

} // namespace glimto
