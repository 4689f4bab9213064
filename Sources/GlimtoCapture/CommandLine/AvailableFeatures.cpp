#include "CommandLine/AvailableFeatures.h"

#include <optional>
#include <string>
#include <variant>

#include "Support/Errors.h"

namespace glimto {

namespace {

std::optional<std::string> missingRecordFeature(const RecordOptions& options)
{
    if (options.upload)
        return "record --upload";
    if (options.captureSystemAudio)
        return "record --system-audio";
    if (options.microphoneDeviceID)
        return "record --microphone";
    return std::nullopt;
}

std::optional<std::string> missingFeature(const Command& command)
{
    if (std::holds_alternative<ScreenshotOptions>(command))
        return "screenshot";
    if (std::holds_alternative<ClipboardImageOptions>(command))
        return "clipboard-image";
    if (std::holds_alternative<TextRecognitionOptions>(command))
        return "recognize-text";
    if (std::holds_alternative<UploadRecordingOptions>(command))
        return "upload";
    if (const auto* options = std::get_if<RecordOptions>(&command))
        return missingRecordFeature(*options);
    return std::nullopt;
}

} // namespace

void requireAvailable(const Command& command)
{
    if (const auto feature = missingFeature(command))
        throw CLIError(*feature + " is not available in this version of glimto-capture.");
}

} // namespace glimto
