#pragma once

#include "Platform/CaptureOpening.h"

namespace glimto {

// Captures of a window system that asks nobody.
class PlainScreenCapture final : public ScreenCapture {
public:
    // Every answer of the system is waited for with a deadline, so this ends by itself. Throws PlatformError.
    using Open = OpenedCapture (*)(const CaptureRequest& request);

    explicit PlainScreenCapture(Open open)
        : open_(open)
    {
    }

    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;

private:
    Open open_;
};

// What was opened is what was asked for.
OpenedCapture openedAsAsked(const CaptureRequest& request, std::shared_ptr<CaptureStream> stream);

} // namespace glimto
