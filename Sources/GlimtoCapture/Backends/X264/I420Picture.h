#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// The encoder's picture: planar 4:2:0, 8 bits, BT.601 limited range, kept from frame to frame so that only
// what changed is converted. Its size is the frame's, padded to even.
class I420Picture {
public:
    I420Picture(int frameWidth, int frameHeight);

    I420Picture(const I420Picture&) = delete;
    I420Picture& operator=(const I420Picture&) = delete;

    // Shows what `other` shows, which has the same size, with the same marks.
    void show(const I420Picture& other);

    int width() const { return width_; }
    int height() const { return height_; }
    std::uint8_t* plane(int index) const { return planes_[index]; }
    int stride(int index) const { return index == 0 ? lumaStride_ : chromaStride_; }

    // Converts the changed parts of `pixels`, which has the frame's size and any format.
    void update(const PixelBuffer& pixels, std::span<const PixelRect> changedRects);

    // For each 16x16 macroblock, row by row: 1 when the last update() left it as it was, 0 when it may have
    // changed.
    std::vector<std::uint8_t>& unchangedMacroblocks() { return unchangedMacroblocks_; }
    const std::vector<std::uint8_t>& unchangedMacroblocks() const { return unchangedMacroblocks_; }
    int macroblockCount() const { return static_cast<int>(unchangedMacroblocks_.size()); }
    int changedMacroblockCount() const;

    void markAllUnchanged();

private:
    void convert(const PixelBuffer& pixels, const PixelRect& rect);
    void convertStrip(const PixelBuffer& strip, int x, int y);
    void padEdges(const PixelRect& rect);
    void markChanged(const PixelRect& rect);

    int frameWidth_;
    int frameHeight_;
    int width_;
    int height_;
    int lumaStride_;
    int chromaStride_;
    int macroblocksPerRow_;
    std::vector<std::uint8_t> memory_;
    std::uint8_t* planes_[3] = {};
    std::vector<std::uint8_t> unchangedMacroblocks_;
    std::vector<std::uint8_t> strip_; // of a picture in another format, on its way
};

} // namespace glimto
