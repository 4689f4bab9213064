#pragma once

#include <filesystem>

namespace glimto {

// Whether anything has that name. A symbolic link counts wherever it points, even to nothing.
bool stands(const std::filesystem::path& path);

// `path` against the working directory. The disk is not looked at. Throws PlatformError when there is no
// working directory to begin from.
std::filesystem::path absolutePath(const std::filesystem::path& path);

// `path` as an absolute path without ".", "..", doubled slashes and a slash at its end, which means what the
// system's own look-up means: "link/../take" lies beside what the link points to. What does not exist is
// stepped back from by name, and a link to nothing keeps its "..". Throws as absolutePath().
std::filesystem::path standardizedPath(const std::filesystem::path& path);

// Makes the directory and those that lead there, as far as they are missing. Throws PlatformError (POSIX).
void makeDirectories(const std::filesystem::path& path);

} // namespace glimto
