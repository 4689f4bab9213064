#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {

ErrorFacts GlimtoCaptureLifecycleError::facts() const
{
    return {what(), "GlimtoCaptureLifecycleError", "GlimtoCapture.GlimtoCaptureLifecycleError", 1};
}

} // namespace glimto
