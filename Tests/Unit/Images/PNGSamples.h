#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/VideoFrame.h"

namespace glimto {

// A picture to be written by libpng, so that reading is tested against another writer than our own.
struct PNGSample {
    int width = 1;
    int height = 1;
    int bitDepth = 8;
    int colorType = 2; // as in the file: 0 gray, 2 RGB, 3 palette, 4 gray and alpha, 6 RGB and alpha
    bool isInterlaced = false;
    std::vector<std::uint8_t> rows; // as in the file, without filters
    std::vector<std::uint8_t> palette = {}; // RGB
    std::vector<std::uint8_t> paletteAlpha = {};
    // The gray or RGB value, as wide as the samples, that is transparent.
    std::vector<int> transparentColor = {};
};

std::vector<std::byte> pngFile(const PNGSample& sample);

// The picture in a PNG as libpng reads it: RGB bytes. Empty when libpng refuses it.
std::vector<std::uint8_t> rgbReadByReference(const std::vector<std::byte>& file, int& width, int& height);

// Where the chunk of that type begins (its length). The file has it.
std::size_t chunkOffset(const std::vector<std::byte>& file, const char* type);

// Of a decoded picture: bytes R, G, B, pixel by pixel.
std::vector<std::uint8_t> rgbOf(const PixelBuffer& pixels);

} // namespace glimto
