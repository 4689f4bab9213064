#pragma once

#include "Backends/Portal/RestoreTokens.h"
#include "Platform/CaptureOpening.h"

namespace glimto {

// Captures by the ScreenCast portal (org.freedesktop.portal.ScreenCast), whose dialog lets the user pick the
// screen or window. What was picked for a display or window is remembered, so that the user is asked once.
class PortalScreenCapture final : public ScreenCapture {
public:
    explicit PortalScreenCapture(RestoreTokens tokens);

    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;

private:
    RestoreTokens tokens_;
};

} // namespace glimto
