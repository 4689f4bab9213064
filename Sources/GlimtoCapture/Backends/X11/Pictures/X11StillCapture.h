#pragma once

#include <memory>

#include "Platform/StillCapture.h"

namespace glimto {

// Takes single pictures of the X display that DISPLAY names, each on a connection of its own.
//
// The plain screen is read as it is. Where applications are to be hidden, or of a single window, the picture
// comes from where a capture stream has its pictures from. Used by one thread.
class X11StillCapture final : public StillCapture {
public:
    X11StillCapture();
    ~X11StillCapture() override;

    void prepare(const ContentFilter& filter, const CaptureStreamConfiguration& configuration) override;
    std::optional<PixelCanvas> captureImage(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration) override;

    // What is held ready for one picture.
    class Session;

private:
    std::unique_ptr<Session> session_; // that prepare() has made
};

} // namespace glimto
