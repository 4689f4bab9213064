#pragma once

#include <filesystem>
#include <memory>

#include "Platform/PNGCodec.h"

namespace glimto {

// The picture in a PNG file. Never waits: a pipe is refused, not opened for reading.
//
// Throws PlatformError when the file cannot be read, is no PNG, is damaged, or declares more pixels than
// the codec decodes.
std::shared_ptr<const PixelBuffer> readPicture(const std::filesystem::path& path, PNGCodec& codec);

} // namespace glimto
