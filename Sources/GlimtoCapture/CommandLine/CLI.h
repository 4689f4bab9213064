#pragma once

#include <span>
#include <string>

#include "Options/Command.h"
#include "Platform/ProcessEnvironment.h"

namespace glimto {

// The grammar of the command line.
//
// Parsing reads the clock (for the default output directory), the current directory and the
// environment (for the access key), and changes nothing. The first argument that is wrong throws
// CLIError; a relative path without a working directory throws PlatformError. A repeated flag
// overwrites the earlier one.
class CLI {
public:
    // `arguments` come without the program's name.
    static Command parse(std::span<const std::string> arguments, const ProcessEnvironment& environment);

    // One command each, from the arguments after the command's word.
    static WindowListOptions parseWindowList(std::span<const std::string> arguments);
    static ScreenshotOptions parseScreenshot(std::span<const std::string> arguments);
    static ClipboardImageOptions parseClipboardImage(std::span<const std::string> arguments);
    static TextRecognitionOptions parseRecognizeText(std::span<const std::string> arguments);
    static RecordOptions parseRecord(
        std::span<const std::string> arguments, const ProcessEnvironment& environment);
    static UploadRecordingOptions parseUpload(
        std::span<const std::string> arguments, const ProcessEnvironment& environment);
};

} // namespace glimto
