#pragma once

#include <filesystem>
#include <optional>

#include "Options/Command.h"
#include "Upload/UploadServices.h"

namespace glimto {

// The command `upload`: sends a take that was recorded for upload and whose upload failed, was interrupted
// or was never begun, and reports.
//
// Throws CLIError, TaskCancellationError, PlatformError, and UploadInterruptedError soon after a stop
// request, for which it listens. Once the attempt has begun, a failure is told on standard output as well,
// and the job is left so that the command can be repeated.
void uploadRecording(const UploadRecordingOptions& options, const UploadServices& services,
    const std::optional<std::filesystem::path>& managedRoot);

} // namespace glimto
