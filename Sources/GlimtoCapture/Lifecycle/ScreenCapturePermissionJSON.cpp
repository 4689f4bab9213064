#include "Lifecycle/ScreenCapturePermissionJSON.h"

namespace glimto {

nlohmann::json toJSON(const ScreenCapturePermissionJSON& permission)
{
    return {
        {"screenRecording", permission.screenRecording},
        {"preflightGranted", permission.preflightGranted},
    };
}

} // namespace glimto
