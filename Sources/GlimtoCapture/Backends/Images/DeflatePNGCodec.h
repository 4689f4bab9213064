#pragma once

#include "Platform/PNGCodec.h"

namespace glimto {

// PNG, written with libdeflate and read with libspng.
//
// Pictures of screens are written with one cheap filter a row and a fast match finder, photos without one:
// smaller files than libpng's fast levels give, in less than half of their time.
class DeflatePNGCodec final : public PNGCodec {
public:
    std::vector<std::byte> encode(const PixelBuffer& pixels) override;
    std::shared_ptr<const PixelBuffer> decode(std::span<const std::byte> data) override;
};

} // namespace glimto
