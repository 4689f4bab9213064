#pragma once

#include <filesystem>
#include <optional>
#include <variant>

#include "Options/RecordOptions.h"
#include "Options/RecordingUploadOptions.h"
#include "Options/ScreenshotOptions.h"

namespace glimto {

enum class ScreenCaptureWindowListScope { visible, all };

struct WindowListOptions {
    ScreenCaptureWindowListScope scope = ScreenCaptureWindowListScope::visible;
    bool includeEnumeration = false;
};

struct ClipboardImageOptions {
    std::optional<std::filesystem::path> pathURL;
};

struct TextRecognitionOptions {
    std::optional<std::filesystem::path> pathURL;
};

struct UploadRecordingOptions {
    std::filesystem::path outputDirectory; // of a completed take
    RecordingUploadOptions upload;
};

struct HelpCommand { };
struct SourcesCommand { };
struct PermissionJSONCommand { };

// One parsed command line.
using Command
    = std::variant<WindowListOptions, ScreenshotOptions, ClipboardImageOptions, TextRecognitionOptions,
        RecordOptions, UploadRecordingOptions, HelpCommand, SourcesCommand, PermissionJSONCommand>;

} // namespace glimto
