#pragma once

#include <filesystem>
#include <string>

namespace glimto {

// The "file" URI (RFC 8089) of an absolute path. Every byte that is not an unreserved character of
// RFC 3986 or a slash is percent-encoded, so the text needs no quoting anywhere: "/a b,c" gives
// "file:///a%20b%2Cc".
std::string fileURI(const std::filesystem::path& path);

} // namespace glimto
