#pragma once

#include "Support/Errors.h"

namespace glimto {

// Somebody asked for the end of an upload before it was complete. No failure of its own.
class TaskCancellationError : public Error {
public:
    TaskCancellationError()
        : Error("The upload was canceled.")
    {
    }

    ErrorFacts facts() const override
    {
        return {what(), "TaskCancellationError", "GlimtoCapture.TaskCancellationError", 1};
    }
};

// A stop request came while an upload ran, which can be taken up again.
class UploadInterruptedError : public Error {
public:
    UploadInterruptedError()
        : Error("The upload was interrupted.")
    {
    }

    ErrorFacts facts() const override
    {
        return {what(), "UploadInterruptedError", "GlimtoCapture.UploadInterruptedError", 1};
    }
};

} // namespace glimto
