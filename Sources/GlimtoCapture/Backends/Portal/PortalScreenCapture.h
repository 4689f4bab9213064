#pragma once

#include "Backends/Portal/PortalPointer.h"
#include "Backends/Portal/RestoreTokens.h"
#include "Platform/CaptureOpening.h"

namespace glimto {

// Captures by the ScreenCast portal (org.freedesktop.portal.ScreenCast), whose dialog lets the user pick the
// screen or window. What was picked for a display or window is remembered, so that the user is asked once.
class PortalScreenCapture final : public ScreenCapture {
public:
    // `pointer` hears of the pointer while a capture is told of it.
    PortalScreenCapture(RestoreTokens tokens, std::shared_ptr<PortalPointer> pointer);

    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;

private:
    RestoreTokens tokens_;
    std::shared_ptr<PortalPointer> pointer_;
};

} // namespace glimto
