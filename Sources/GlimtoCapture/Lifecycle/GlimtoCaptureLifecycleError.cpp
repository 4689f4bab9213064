#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {

ErrorFacts GlimtoCaptureLifecycleError::facts() const
{
    if (cause_)
        return *cause_;
    return {what(), "GlimtoCaptureLifecycleError", "GlimtoCapture.GlimtoCaptureLifecycleError", 1};
}

} // namespace glimto
