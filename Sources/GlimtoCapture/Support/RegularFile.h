#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace glimto {

enum class SymbolicLinks { followed, refused };

// The content of a regular file; absent when something else stands there, such as a directory, a FIFO
// or, when refused, a symbolic link. Throws PlatformError (POSIX) when it cannot be read or is
// longer than `mostBytes`.
std::optional<std::string> readRegularFile(
    const std::filesystem::path& path, std::size_t mostBytes, SymbolicLinks links);

} // namespace glimto
