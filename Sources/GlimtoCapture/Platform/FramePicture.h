#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "Platform/PixelBuffer.h"

namespace glimto {

// A picture in memory that devices and processes share by descriptors (DMA-BUF of Linux).
struct DMABuffer {
    struct Plane {
        int fileDescriptor = -1; // open as long as the picture lives
        std::uint32_t offset = 0; // bytes
        std::uint32_t bytesPerRow = 0;
    };
    std::vector<Plane> planes;
    std::uint64_t modifier = 0; // how pixels are arranged (drm_fourcc.h); 0 is row by row
};

// The picture of a frame, which nobody changes any more: its size and format, and its pixels wherever they
// lie. Consumers ask for what they need; only what is not there as they need it is converted or fetched. Used
// by any thread, several at a time. Released, it gives its memory back to the stream's pool.
//
// A picture that only its own system can reach is a class of that backend. An encoder of the same system
// knows it by its type; all others call pixels().
class FramePicture {
public:
    FramePicture(int width, int height, PixelFormat format)
        : width_(width)
        , height_(height)
        , format_(format)
    {
    }
    virtual ~FramePicture() = default;
    FramePicture(const FramePicture&) = delete;
    FramePicture& operator=(const FramePicture&) = delete;

    int width() const { return width_; } // pixels
    int height() const { return height_; }
    PixelRect rect() const { return {0, 0, width_, height_}; }
    PixelFormat format() const { return format_; }

    // The pixels in memory, in the picture's own format. At no cost where they lie there; else they are
    // mapped or read back. Throws PlatformError.
    virtual PixelBuffer pixels() const = 0;

    // The same in the format that is needed.
    PixelBuffer pixels(PixelFormat format) const { return inFormat(pixels(), format); }

    // Null when the picture is in no such buffer.
    virtual const DMABuffer* dmaBuffer() const { return nullptr; }

private:
    const int width_;
    const int height_;
    const PixelFormat format_;
};

// One that lies in memory.
class MemoryPicture final : public FramePicture {
public:
    explicit MemoryPicture(PixelBuffer pixels)
        : FramePicture(pixels.width, pixels.height, pixels.format)
        , pixels_(std::move(pixels))
    {
    }

    using FramePicture::pixels;
    PixelBuffer pixels() const override { return pixels_; }

private:
    const PixelBuffer pixels_;
};

} // namespace glimto
