#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Platform/PixelBuffer.h"

namespace glimto {

// Contract: PNGCodec::decode. Bytes behind the end of the picture are not looked at. May throw
// std::bad_alloc.
std::shared_ptr<const PixelBuffer> readPNG(std::span<const std::byte> data);

} // namespace glimto
