#pragma once

#include <atomic>
#include <exception>
#include <utility>

#include "Platform/FramePicture.h"

namespace glimto {

// A picture in graphics memory: its pixels have to be read back, which is counted.
class FakeFramePicture final : public FramePicture {
public:
    explicit FakeFramePicture(PixelBuffer pixels)
        : FramePicture(pixels.width, pixels.height, pixels.format)
        , pixels_(std::move(pixels))
    {
    }

    // How it behaves.
    std::exception_ptr error; // thrown by each reading when set

    // What happened.
    mutable std::atomic<int> reads = 0;

    using FramePicture::pixels;
    PixelBuffer pixels() const override
    {
        ++reads;
        if (error)
            std::rethrow_exception(error);
        return pixels_;
    }

    const DMABuffer* dmaBuffer() const override { return &buffer_; }

private:
    PixelBuffer pixels_;
    DMABuffer buffer_;
};

} // namespace glimto
