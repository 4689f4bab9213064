#pragma once

#include <filesystem>

namespace glimto {

// `path` as an absolute path without ".", "..", doubled slashes and a slash at its end, which means what the
// system's own look-up means: "link/../take" lies beside what the link points to. What does not exist is
// stepped back from by name, and a link to nothing keeps its "..". Throws PlatformError when there is no
// working directory.
std::filesystem::path standardizedPath(const std::filesystem::path& path);

} // namespace glimto
