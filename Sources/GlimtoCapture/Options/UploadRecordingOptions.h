#pragma once

#include <filesystem>

#include "Options/RecordingUploadOptions.h"

namespace glimto {

struct UploadRecordingOptions {
    std::filesystem::path outputDirectory; // of a completed take
    RecordingUploadOptions upload;
};

} // namespace glimto
