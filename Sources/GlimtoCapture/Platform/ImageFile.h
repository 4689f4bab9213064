#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "Support/Errors.h"

namespace glimto {

// What kind of thing a path names, links followed.
enum class ImageFileKind { none, regularFile, other };
ImageFileKind imageFileKind(const std::filesystem::path& path);

// "Could not read the image at <path>: it is not a regular file."
PlatformError notARegularFile(const std::filesystem::path& path);

// Every byte of a regular file that begins like a PNG (ISO/IEC 15948 section 5.2). Nothing when it begins in
// another way, or is larger than any picture that could be read. Never waits for a writer or a device. Throws
// PlatformError (POSIX) when it cannot be opened or read, or is not a regular file.
std::optional<std::vector<std::byte>> readPNGFile(const std::filesystem::path& path);

} // namespace glimto
