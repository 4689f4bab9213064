#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// A picture in memory that may be drawn into: 32 bits a pixel, bytes B, G, R, X in this order (X is
// undefined), rows from top to bottom. Copies of this object share the pixels.
struct StillImage {
    int width = 0;
    int height = 0;
    std::size_t bytesPerRow = 0; // at least 4 * width
    std::uint8_t* bytes = nullptr; // valid as long as this object
    std::shared_ptr<void> storage; // keeps `bytes` alive

    // The same pixels for those who only look at them.
    PixelBuffer pixels() const;

    // A copy of `pixels` that nobody else has. Throws std::bad_alloc.
    static StillImage copyOf(const PixelBuffer& pixels);
};

// Takes single pictures of a content filter.
class StillCapture {
public:
    virtual ~StillCapture() = default;

    // Says that a picture of this content will probably be wanted soon, so that what takes its time is done
    // before: connections, memory, and letting covered windows draw themselves where others are to be
    // hidden. Does not throw.
    virtual void prepare(const ContentFilter& filter, const CaptureStreamConfiguration& configuration) = 0;

    // The picture as it is on the screen now, of the configuration's size; its frame interval and queue
    // depth do not matter. Nobody else has its pixels. Waits at most 8 seconds for the system. Nothing when
    // the system gave none. Throws PlatformError when the content cannot be captured.
    virtual std::optional<StillImage> captureImage(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        = 0;
};

} // namespace glimto
