#pragma once

#include <filesystem>

namespace glimto {

// Makes the directory and those that lead there, as far as they are missing. Throws PlatformError (POSIX).
void makeDirectories(const std::filesystem::path& path);

} // namespace glimto
