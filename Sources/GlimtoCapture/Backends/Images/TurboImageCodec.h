#pragma once

#include "Platform/ImageCodec.h"

namespace glimto {

// Pictures by libjpeg-turbo.
class TurboImageCodec final : public ImageCodec {
public:
    std::vector<std::byte> encodeJPEG(const PixelBuffer& pixels, double quality) override;
};

} // namespace glimto
