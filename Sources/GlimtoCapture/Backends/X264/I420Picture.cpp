#include "Backends/X264/I420Picture.h"

#include <algorithm>
#include <cstring>

#include <libyuv.h>

namespace glimto {

namespace {

constexpr int macroblockSize = 16;
constexpr std::size_t alignment = 64;
constexpr int stripHeight = 16; // even

int roundedUp(int value, int multiple)
{
    return (value + multiple - 1) / multiple * multiple;
}

// Grown to even edges, so that every chroma sample is computed from the four pixels that it stands for.
PixelRect evenRect(const PixelRect& rect, int width, int height)
{
    const PixelRect inside = intersection(rect, {0, 0, width, height});
    if (inside.isEmpty())
        return {};
    const int left = inside.x & ~1;
    const int top = inside.y & ~1;
    const int right = std::min(roundedUp(inside.x + inside.width, 2), width);
    const int bottom = std::min(roundedUp(inside.y + inside.height, 2), height);
    return {left, top, right - left, bottom - top};
}

} // namespace

I420Picture::I420Picture(int frameWidth, int frameHeight)
    : frameWidth_(frameWidth)
    , frameHeight_(frameHeight)
    , width_(roundedUp(frameWidth, 2))
    , height_(roundedUp(frameHeight, 2))
    , lumaStride_(roundedUp(width_, static_cast<int>(alignment)))
    , chromaStride_(roundedUp(width_ / 2, static_cast<int>(alignment)))
    , macroblocksPerRow_(roundedUp(width_, macroblockSize) / macroblockSize)
{
    const std::size_t lumaBytes = static_cast<std::size_t>(lumaStride_) * static_cast<std::size_t>(height_);
    const std::size_t chromaBytes
        = static_cast<std::size_t>(chromaStride_) * static_cast<std::size_t>(height_ / 2);
    memory_.resize(lumaBytes + 2 * chromaBytes + alignment);
    const auto misaligned = reinterpret_cast<std::uintptr_t>(memory_.data()) % alignment;
    planes_[0] = memory_.data() + (misaligned == 0 ? 0 : alignment - misaligned);
    planes_[1] = planes_[0] + lumaBytes;
    planes_[2] = planes_[1] + chromaBytes;
    const int macroblockRows = roundedUp(height_, macroblockSize) / macroblockSize;
    unchangedMacroblocks_.resize(
        static_cast<std::size_t>(macroblocksPerRow_) * static_cast<std::size_t>(macroblockRows));
}

void I420Picture::show(const I420Picture& other)
{
    const auto lumaBytes = static_cast<std::size_t>(lumaStride_) * static_cast<std::size_t>(height_);
    const auto chromaBytes = static_cast<std::size_t>(chromaStride_) * static_cast<std::size_t>(height_ / 2);
    std::memcpy(planes_[0], other.planes_[0], lumaBytes + 2 * chromaBytes);
    unchangedMacroblocks_ = other.unchangedMacroblocks_;
}

void I420Picture::update(const PixelBuffer& pixels, std::span<const PixelRect> changedRects)
{
    markAllUnchanged();
    for (const PixelRect& changed : changedRects) {
        const PixelRect rect = evenRect(changed, frameWidth_, frameHeight_);
        if (rect.isEmpty())
            continue;
        convert(pixels, rect);
        padEdges(rect);
        markChanged(rect);
    }
}

void I420Picture::markAllUnchanged()
{
    std::fill(unchangedMacroblocks_.begin(), unchangedMacroblocks_.end(), std::uint8_t{1});
}

int I420Picture::changedMacroblockCount() const
{
    return static_cast<int>(
        std::count(unchangedMacroblocks_.begin(), unchangedMacroblocks_.end(), std::uint8_t{0}));
}

void I420Picture::convert(const PixelBuffer& pixels, const PixelRect& rect)
{
    if (servesAs(pixels.format, PixelFormat::xrgb8888)) {
        convertStrip(pixels.part(rect), rect.x, rect.y);
        return;
    }
    // Few rows at a time, which stay in the processor's memory.
    strip_.resize(static_cast<std::size_t>(rect.width) * stripHeight * 4);
    for (int top = rect.y; top < rect.y + rect.height; top += stripHeight) {
        const PixelBuffer from
            = pixels.part({rect.x, top, rect.width, std::min(stripHeight, rect.y + rect.height - top)});
        const PixelCanvas strip
            = {from.width, from.height, static_cast<std::size_t>(from.width) * 4, strip_.data(), nullptr};
        convertPixels(from, strip);
        convertStrip(strip, rect.x, top);
    }
}

void I420Picture::convertStrip(const PixelBuffer& strip, int x, int y)
{
    const std::ptrdiff_t lumaOffset = static_cast<std::ptrdiff_t>(y) * lumaStride_ + x;
    const std::ptrdiff_t chromaOffset = static_cast<std::ptrdiff_t>(y / 2) * chromaStride_ + x / 2;
    // libyuv's "ARGB" is B, G, R, A in memory.
    libyuv::ARGBToI420(strip.bytes, static_cast<int>(strip.bytesPerRow), planes_[0] + lumaOffset, lumaStride_,
        planes_[1] + chromaOffset, chromaStride_, planes_[2] + chromaOffset, chromaStride_, strip.width,
        strip.height);
}

void I420Picture::padEdges(const PixelRect& rect)
{
    const bool touchesRight = rect.x + rect.width == frameWidth_;
    if (width_ > frameWidth_ && touchesRight) {
        for (int row = rect.y; row < rect.y + rect.height; ++row) {
            std::uint8_t* line = planes_[0] + static_cast<std::ptrdiff_t>(row) * lumaStride_;
            line[frameWidth_] = line[frameWidth_ - 1];
        }
    }
    const bool touchesBottom = rect.y + rect.height == frameHeight_;
    if (height_ > frameHeight_ && touchesBottom) {
        const std::uint8_t* last = planes_[0] + static_cast<std::ptrdiff_t>(frameHeight_ - 1) * lumaStride_;
        std::memcpy(planes_[0] + static_cast<std::ptrdiff_t>(frameHeight_) * lumaStride_, last,
            static_cast<std::size_t>(width_));
    }
}

void I420Picture::markChanged(const PixelRect& rect)
{
    const int firstColumn = rect.x / macroblockSize;
    const int lastColumn = (rect.x + rect.width - 1) / macroblockSize;
    const int firstRow = rect.y / macroblockSize;
    const int lastRow = (rect.y + rect.height - 1) / macroblockSize;
    for (int row = firstRow; row <= lastRow; ++row) {
        const auto begin
            = unchangedMacroblocks_.begin() + static_cast<std::ptrdiff_t>(row) * macroblocksPerRow_;
        std::fill(begin + firstColumn, begin + lastColumn + 1, std::uint8_t{0});
    }
}

} // namespace glimto
