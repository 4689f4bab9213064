#include "CommandLine/Driver.h"

#include <variant>

#include "CommandLine/AvailableFeatures.h"
#include "CommandLine/CLI.h"
#include "CommandLine/OpenCommand.h"
#include "CommandLine/ScreenCaptureProcessLock.h"
#include "CommandLine/UsageText.h"
#include "Content/ScreenCaptureListings.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Lifecycle/ScreenCapturePermissionJSON.h"
#include "Recording/ScreenSegmentRecorder.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"

namespace glimto {

namespace {

// The code that an error brings with it.
std::optional<std::string> ownCode(const std::exception_ptr& error)
{
    try {
        std::rethrow_exception(error);
    } catch (const GlimtoCaptureLifecycleError& lifecycleError) {
        return lifecycleError.code();
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace

Driver::Driver(PlatformServices& services, Outputs outputs)
    : services_(services)
    , outputs_(outputs)
    , emitter_(outputs.standardOutput)
{
}

int Driver::run(std::span<const std::string> arguments)
{
    try {
        parseAndExecute(arguments);
        return 0;
    } catch (...) {
        outputs_.standardError.writeLine("error: " + errorFacts(std::current_exception()).message);
        return 1;
    }
}

void Driver::parseAndExecute(std::span<const std::string> arguments)
{
    const Command command = CLI::parse(arguments, services_.process);
    requireAvailable(command);
    const auto lock = ScreenCaptureProcessLock::acquire(command, services_.process);
    execute(command);
}

void Driver::execute(const Command& command)
{
    if (std::holds_alternative<HelpCommand>(command))
        outputs_.standardOutput.writeLine(usageText());
    else if (std::holds_alternative<PermissionJSONCommand>(command))
        printPermission();
    else if (std::holds_alternative<SourcesCommand>(command))
        listSources(services_.content, outputs_.standardOutput);
    else if (const auto* windowList = std::get_if<WindowListOptions>(&command))
        listWindowsJSON(services_.content, services_.screen, *windowList, outputs_.standardOutput);
    else if (const auto* recording = std::get_if<RecordOptions>(&command))
        record(*recording);
}

void Driver::printPermission()
{
    const auto permission
        = ScreenCapturePermissionJSON::fromPreflight(services_.screen.preflightScreenCaptureAccess());
    outputs_.standardOutput.writeLine(encodeScreenCaptureJSON(toJSON(permission)));
}

void Driver::record(const RecordOptions& options)
{
    const auto recordingId = GlimtoCaptureEventEmitter::recordingId(options);
    try {
        announceLaunch(options, recordingId);
        recordAndPrint(options);
    } catch (...) {
        reportRecordingFailure(std::current_exception(), recordingId);
        throw;
    }
}

void Driver::announceLaunch(const RecordOptions& options, const std::optional<std::string>& recordingId)
{
    std::optional<std::string> pageURL;
    if (options.upload)
        pageURL = GlimtoCaptureEventEmitter::recordingPageURL(options.upload->apiBaseURL, recordingId);
    emitter_.emit({.kind = "launched", .recordingId = recordingId, .pageUrl = pageURL});
    if (pageURL)
        emitter_.emit({.kind = "page_url", .recordingId = recordingId, .pageUrl = pageURL});
}

void Driver::recordAndPrint(const RecordOptions& options)
{
    const auto metadata = ScreenSegmentRecorder(services_, outputs_).record(options);
    if (options.stdoutJSON)
        outputs_.standardOutput.writeLine(encodeScreenCaptureJSON(toJSON(metadata)));
    if (!options.revealOutput)
        return;
    try {
        runOpenCommand(OpenAction::revealFile, options.outputDirectory, services_.workspace);
    } catch (const std::exception& error) {
        warn(error.what());
    }
}

void Driver::reportRecordingFailure(
    const std::exception_ptr& error, const std::optional<std::string>& recordingId)
{
    const ErrorFacts facts = errorFacts(error);
    // A permission that was missing brought its own code. Asking again now would blame the permission for
    // a window system that went away.
    const auto code = ownCode(error).value_or(
        GlimtoCaptureEventEmitter::errorCode(facts, std::nullopt, "recording_failed"));
    emitter_.emit({.kind = "recording_failed",
        .recordingId = recordingId,
        .error = GlimtoCaptureEventError(code, facts),
        .state = "failed"});
    emitter_.emitStatus("failed");
}

void Driver::warn(const std::string& message)
{
    outputs_.standardError.writeLine("Warning: " + message);
}

} // namespace glimto
