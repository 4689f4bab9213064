#pragma once

#include <variant>

#include "Options/ClipboardImageOptions.h"
#include "Options/RecordOptions.h"
#include "Options/ScreenshotOptions.h"
#include "Options/TextRecognitionOptions.h"
#include "Options/UploadRecordingOptions.h"
#include "Options/WindowListOptions.h"

namespace glimto {

struct HelpCommand { };
struct SourcesCommand { };
struct PermissionJSONCommand { };

// One parsed command line.
using Command
    = std::variant<WindowListOptions, ScreenshotOptions, ClipboardImageOptions, TextRecognitionOptions,
        RecordOptions, UploadRecordingOptions, HelpCommand, SourcesCommand, PermissionJSONCommand>;

} // namespace glimto
