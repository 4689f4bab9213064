#include "CommandLine/CLI.h"

#include <filesystem>

#include "CommandLine/OptionReader.h"
#include "CommandLine/UploadArguments.h"
#include "Support/Paths.h"
#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

using Options = RecordOptions;

void setFramerate(Options& options, OptionReader& reader)
{
    const auto value = reader.intValue();
    if (value < 1 || value > 120)
        throw CLIError(reader.flag() + " must be between 1 and 120.");
    options.framesPerSecond = static_cast<int>(value);
}

void setMicrophone(Options& options, OptionReader& reader)
{
    options.microphoneDeviceID = trimmedNonEmpty(reader.stringValue());
    if (!options.microphoneDeviceID)
        throw CLIError("--microphone requires a device id.");
}

// The capture source is what the last of these three says; a region or window leaves the display's
// index as it was.
void setDisplay(Options& options, OptionReader& reader)
{
    options.displayIndex = reader.displayIndexValue();
    options.captureRegion.reset();
    options.captureWindowId.reset();
}

void setRegion(Options& options, OptionReader& reader)
{
    options.captureRegion = reader.captureRegionValue();
    options.captureWindowId.reset();
}

void setWindow(Options& options, OptionReader& reader)
{
    options.captureWindowId = reader.windowIdValue();
    options.captureRegion.reset();
}

void setRecordEvents(Options& options, OptionReader&)
{
    options.recordEvents = true;
    // The event track tells where the cursor was, for a player that draws its own.
    options.includeCursor = false;
}

OptionTable<Options> captureTable()
{
    return {
        {"-d", reading(&Options::durationSeconds, &OptionReader::positiveValue)},
        {"--duration", reading(&Options::durationSeconds, &OptionReader::positiveValue)},
        {"--until-stopped", setting(&Options::recordUntilStopped, true)},
        {"--max-duration-seconds", reading(&Options::maxDurationSeconds, &OptionReader::positiveValue)},
        {"-o", reading(&Options::outputDirectory, &OptionReader::pathValue)},
        {"--output", reading(&Options::outputDirectory, &OptionReader::pathValue)},
        {"--display", setDisplay},
        {"-r", setFramerate},
        {"--framerate", setFramerate},
        {"--segment-duration", reading(&Options::segmentSeconds, &OptionReader::positiveValue)},
        {"--system-audio", setting(&Options::captureSystemAudio, true)},
        {"--microphone", setMicrophone},
        {"--no-cursor", setting(&Options::includeCursor, false)},
        {"--record-events", setRecordEvents},
        {"--region", setRegion},
        {"--window-id", setWindow},
        {"--except-window-id", reading(&Options::exceptWindowId, &OptionReader::windowIdValue)},
        {"-w", setting(&Options::overwrite, true)},
        {"--overwrite", setting(&Options::overwrite, true)},
        {"--stop-file", reading(&Options::stopFileURL, &OptionReader::foreignPathValue)},
        {"--stdout-json", setting(&Options::stdoutJSON, true)},
        {"--reveal", setting(&Options::revealOutput, true)},
    };
}

double thresholdValue(OptionReader& reader)
{
    const double seconds = reader.doubleValue();
    if (seconds < 0)
        throw CLIError(reader.flag() + " must be 0 or greater.");
    return seconds;
}

// Every one of these flags switches the upload on.
OptionTable<Options> uploadTable(const ProcessEnvironment& environment)
{
    const auto upload = [&environment](Options& options) -> RecordingUploadOptions& {
        return ensureUploadOptions(options, environment);
    };
    using Upload = RecordingUploadOptions;
    const auto uploading = [upload](const std::function<void(Upload&, OptionReader&)>& apply) {
        return [=](Options& options, OptionReader& reader) { apply(upload(options), reader); };
    };
    return {
        {"--upload", [upload](Options& options, OptionReader&) { upload(options); }},
        {"--api-base-url", uploading(reading(&Upload::apiBaseURL, &OptionReader::apiBaseURLValue))},
        {"--access-key", uploading(reading(&Upload::accessKey, &OptionReader::stringValue))},
        {"--recording-id", uploading(reading(&Upload::recordingId, &OptionReader::stringValue))},
        {"--background-upload-threshold",
            [upload](Options& options, OptionReader& reader) {
                upload(options).backgroundUploadThresholdSeconds = thresholdValue(reader);
            }},
        {"--no-background-upload", uploading(setting(&Upload::backgroundUploadThresholdSeconds, 0))},
    };
}

std::filesystem::path defaultOutputDirectory()
{
    return standardizedPath(
        std::filesystem::path(".glimto-runs") / RecordOptions::timestampedDirectoryName());
}

} // namespace

RecordOptions CLI::parseRecord(std::span<const std::string> arguments, const ProcessEnvironment& environment)
{
    OptionTable<RecordOptions> table = captureTable();
    table.merge(uploadTable(environment));
    RecordOptions options;
    readOptions(arguments, table, "record", options);
    if (options.recordUntilStopped && !options.stopFileURL)
        throw CLIError("--until-stopped requires --stop-file.");
    if (options.outputDirectory.empty())
        options.outputDirectory = defaultOutputDirectory();
    return options;
}

} // namespace glimto
