#pragma once

#include <memory>

#include "Platform/CaptureStream.h"
#include "Platform/ContentFilter.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// Takes single pictures of a content filter.
class StillCapture {
public:
    virtual ~StillCapture() = default;

    // Whether the system can do so; where it cannot, the first frame of a capture stream serves instead.
    virtual bool isSupported() const = 0;

    // The picture as it is on the screen now, of the configuration's size; its frame interval and queue
    // depth do not matter. Waits at most 8 seconds for the system. Null when the system gave none. Throws
    // PlatformError when the content cannot be captured.
    virtual std::shared_ptr<const PixelBuffer> captureImage(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        = 0;
};

} // namespace glimto
