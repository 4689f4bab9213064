#pragma once

#include <string_view>

namespace glimto {

// Whether `text` is a URL (RFC 3986) with the scheme "http" or "https", in lower case, and a host.
bool isWebAddress(std::string_view text);

} // namespace glimto
