#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {

ErrorFacts GlimtoCaptureLifecycleError::facts() const
{
    if (cause_)
        return *cause_;
    return {what(), "GlimtoCaptureLifecycleError", "GlimtoCapture.GlimtoCaptureLifecycleError", 1};
}

void requireScreenCaptureAccess(const ScreenCaptureAccess& access, LineOutput& standardError)
{
    if (access.allowsOpening())
        return;
    standardError.writeLine("warning: " + access.obstacle);
    throw GlimtoCaptureLifecycleError(
        "screen_permission_denied", "Screen Recording permission is not granted for glimto-capture.");
}

} // namespace glimto
