#include "CommandLine/Driver.h"

#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include "CommandLine/CLI.h"
#include "CommandLine/Hints.h"
#include "CommandLine/RecordCommand.h"
#include "CommandLine/ScreenCaptureProcessLock.h"
#include "CommandLine/UsageText.h"
#include "Content/ScreenCaptureListings.h"
#include "Content/ScreenCaptureShareableContent.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Lifecycle/ScreenCapturePermissionJSON.h"
#include "Progress/ProgressReporter.h"
#include "Stills/ClipboardImageWriter.h"
#include "Stills/ScreenshotCapturer.h"
#include "Stills/TextRecognizer.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Upload/RecordingUploadJobStore.h"
#include "Upload/TaskCancellationError.h"
#include "Upload/UploadCommand.h"

namespace glimto {

Driver::Driver(PlatformServices& services, Outputs outputs, ProgressDescriptor progress,
    std::shared_ptr<StatusLine> statusLine)
    : services_(services)
    , outputs_(outputs)
    , progress_(std::move(progress))
    , statusLine_(std::move(statusLine))
    , emitter_(outputs.standardOutput)
{
    outputs_.givesHints = statusLine_ != nullptr;
}

int Driver::run(std::span<const std::string> arguments)
{
    try {
        parseAndExecute(arguments);
        return 0;
    } catch (const UploadInterruptedError& error) {
        outputs_.standardError.writeLine(std::string("error: ") + error.what());
        services_.stopRequests.passOn();
        return 1;
    } catch (const GlimtoCaptureLifecycleError& error) {
        giveHints(arguments, error.what());
        printError(error.what(), error.code() == "window_not_found" ? Lines::two : Lines::one);
        return 1;
    } catch (...) {
        const auto message = errorFacts(std::current_exception()).message;
        giveHints(arguments, message);
        printError(message, Lines::one);
        return 1;
    }
}

void Driver::printError(const std::string& message, Lines lines)
{
    const std::string text = "error: " + message;
    const auto end = lines == Lines::two ? text.find('\n') : std::string::npos;
    outputs_.standardError.writeLine(text.substr(0, end));
    if (end != std::string::npos)
        outputs_.standardError.writeLine(text.substr(end + 1));
}

void Driver::parseAndExecute(std::span<const std::string> arguments)
{
    const Command command = CLI::parse(arguments, services_.process);
    const auto lock = ScreenCaptureProcessLock::acquire(command, services_.process);
    execute(command);
}

void Driver::execute(const Command& command)
{
    if (std::holds_alternative<HelpCommand>(command))
        outputs_.standardOutput.writeDocument(usageText());
    else if (std::holds_alternative<PermissionJSONCommand>(command))
        printPermission();
    else if (std::holds_alternative<SourcesCommand>(command))
        listSources(services_.windowSystem.content(), outputs_.standardOutput);
    else if (const auto* windowList = std::get_if<WindowListOptions>(&command))
        listWindowsJSON(services_.windowSystem.content(), services_.windowSystem.access(), *windowList,
            outputs_.standardOutput);
    else if (const auto* picture = std::get_if<ScreenshotOptions>(&command))
        screenshot(*picture);
    else if (const auto* image = std::get_if<ClipboardImageOptions>(&command))
        putOnClipboard(*image);
    else if (const auto* text = std::get_if<TextRecognitionOptions>(&command))
        recognizeText(*text);
    else if (const auto* recording = std::get_if<RecordOptions>(&command))
        record(*recording);
    else if (const auto* take = std::get_if<UploadRecordingOptions>(&command))
        upload(*take);
}

void Driver::printPermission()
{
    const auto access = services_.windowSystem.access().preflightScreenCaptureAccess();
    if (!access.allowsOpening())
        outputs_.standardError.writeLine("warning: " + access.obstacle);
    outputs_.standardOutput.writeDocument(
        encodeScreenCaptureJSON(toJSON(ScreenCapturePermissionJSON::fromPreflight(access))));
}

void Driver::screenshot(const ScreenshotOptions& options)
{
    const auto metadata = captureScreenshot(options);
    if (options.stdoutJSON) {
        outputs_.standardOutput.writeLine(encodeScreenCaptureJSON(toJSON(metadata)));
    } else {
        outputs_.standardOutput.writeLine("Screenshot: " + metadata.path);
        outputs_.standardOutput.writeLine("Format: " + metadata.format + ", " + std::to_string(metadata.width)
            + "x" + std::to_string(metadata.height) + ", " + std::to_string(metadata.byteSize) + " bytes");
    }
    if (options.copyImage)
        copyImage(*options.outputURL);
    if (options.revealOutput)
        open(OpenAction::revealFile, *options.outputURL);
    if (options.openOutput)
        open(OpenAction::openFile, *options.outputURL);
}

ScreenshotMetadataJSON Driver::captureScreenshot(const ScreenshotOptions& options)
{
    try {
        return ScreenshotCapturer(services_, outputs_).capture(options);
    } catch (...) {
        const auto facts = errorFacts(std::current_exception());
        const auto permission = ScreenCapturePermissionJSON::fromPreflight(
            services_.windowSystem.access().preflightScreenCaptureAccess());
        const auto code = GlimtoCaptureEventEmitter::errorCode(facts, permission, "screenshot_failed");
        emitter_.emit({.kind = "screenshot_failed", .error = GlimtoCaptureEventError(code, facts)});
        throw;
    }
}

ClipboardImageWriter Driver::clipboardImageWriter()
{
    return {services_.pngCodec, services_.windowSystem.pasteboard(), outputs_.standardError};
}

void Driver::copyImage(const std::filesystem::path& path)
{
    try {
        clipboardImageWriter().write(path);
    } catch (const std::exception& error) {
        warn(error.what());
    }
}

void Driver::open(OpenAction action, const std::filesystem::path& path)
{
    runOpenCommandOrWarn(action, path, services_.workspace, outputs_);
}

void Driver::putOnClipboard(const ClipboardImageOptions& options)
{
    const auto result = clipboardImageWriter().write(options);
    outputs_.standardOutput.writeLine("Clipboard image: " + result.path.string());
    outputs_.standardOutput.writeLine("Bytes: " + std::to_string(result.byteCount));
}

void Driver::recognizeText(const TextRecognitionOptions& options)
{
    const auto result = TextRecognizer(services_.textRecognition).recognize(options);
    outputs_.standardOutput.writeDocument(encodeScreenCaptureJSON(toJSON(result)));
}

std::vector<std::shared_ptr<ProgressSink>> Driver::progressSinks()
{
    std::vector<std::shared_ptr<ProgressSink>> sinks;
    if (!progress_.problem.empty())
        outputs_.standardError.writeLine("warning: " + progress_.problem + "; no progress is told");
    if (progress_.descriptor)
        sinks.push_back(std::make_shared<ProgressChannel>(std::move(progress_.descriptor)));
    if (statusLine_)
        sinks.push_back(statusLine_);
    return sinks;
}

void Driver::record(const RecordOptions& options)
{
    runRecording(options);
    hint(playHints(options.outputDirectory));
}

void Driver::runRecording(const RecordOptions& options)
{
    const auto figures = std::make_shared<RecordingFigures>();
    try {
        const ProgressReporter reporter(figures, progressSinks());
        RecordCommand(services_, outputs_, figures).run(options);
    } catch (...) {
        std::error_code error;
        if (figures->snapshot().frames > 0
            && !std::filesystem::exists(options.outputDirectory / "manifest.json", error))
            hints_ = repairHints(options.outputDirectory);
        throw;
    }
}

// A hint that cannot be had must not hide the error.
void Driver::giveHints(std::span<const std::string> arguments, const std::string& message) noexcept
{
    if (!outputs_.givesHints)
        return; // what they are made of takes time
    try {
        hint(hints_);
        hint(argumentHints(arguments, message));
        hint(windowHints(message));
        if (message.starts_with("No display at index "))
            hint(displayHints());
    } catch (const std::exception&) {
        return;
    }
}

std::vector<std::string> Driver::displayHints() const
{
    std::vector<std::string> hints;
    const auto content = ScreenCaptureShareableContent(services_.windowSystem.content()).recordingSources();
    for (const auto& display : content.displays)
        hints.push_back("--display " + std::to_string(hints.size()) + " is "
            + std::to_string(display.pixelsWide) + "x" + std::to_string(display.pixelsHigh));
    return hints;
}

void Driver::hint(const std::vector<std::string>& hints)
{
    if (!outputs_.givesHints)
        return;
    for (const auto& text : hints)
        outputs_.standardError.writeLine("hint: " + text);
}

void Driver::upload(const UploadRecordingOptions& options)
{
    const auto figures = std::make_shared<RecordingFigures>();
    const ProgressReporter reporter(figures, progressSinks());
    figures->enter(RecordingPhase::uploading);
    SystemUploadClock clock;
    uploadRecording(options,
        {services_.http, services_.textPatterns, clock, services_.stopRequests, outputs_, figures},
        RecordingUploadJobStore::managedRecordingsRoot(services_.process));
}

void Driver::warn(const std::string& message)
{
    outputs_.standardError.writeLine("Warning: " + message);
}

} // namespace glimto
