#pragma once

#include <optional>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/PixelBuffer.h"

namespace glimto {

// Takes single pictures of a content filter.
class StillCapture {
public:
    virtual ~StillCapture() = default;

    // Says that a picture of this content will probably be wanted soon, so that what takes its time is done
    // before: connections, memory, and letting covered windows draw themselves where others are to be
    // hidden. Does not throw.
    virtual void prepare(const ContentFilter& filter, const CaptureStreamConfiguration& configuration) = 0;

    // The picture as it is on the screen now, of the configuration's size; its frame interval and queue
    // depth do not matter. Nobody else has its pixels, which are in the format that costs the system least.
    // Waits at most 8 seconds for the system. Nothing when the system gave none. Throws PlatformError when
    // the content cannot be captured.
    virtual std::optional<PixelCanvas> captureImage(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        = 0;
};

} // namespace glimto
