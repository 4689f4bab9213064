#pragma once

#include <filesystem>
#include <optional>

#include "Options/UploadRecordingOptions.h"
#include "Upload/UploadServices.h"

namespace glimto {

// The command `upload`: sends a take that was recorded for upload and whose upload failed, was interrupted
// or was never begun, and reports.
//
// Throws CLIError, TaskCancellationError and PlatformError. Once the attempt has begun, a failure is told
// on standard output as well.
void uploadRecording(const UploadRecordingOptions& options, const UploadServices& services,
    const std::optional<std::filesystem::path>& managedRoot);

} // namespace glimto
