#pragma once

#include "Platform/CaptureOpening.h"

namespace glimto {

// Captures of the X display that DISPLAY names. Nobody is ever asked, and what is opened is what was asked
// for; a server that hangs is given up after ten seconds.
class X11ScreenCapture final : public ScreenCapture {
public:
    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;
};

} // namespace glimto
