#pragma once

#include <exception>
#include <optional>
#include <span>
#include <string>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Options/Command.h"
#include "Platform/PlatformServices.h"
#include "Support/LineOutput.h"

namespace glimto {

// Runs one command line: parses it, sees to it that nobody else captures the screen, runs the command,
// prints its results and turns every failure into one line on standard error.
class Driver {
public:
    // The services and outputs outlive the driver.
    Driver(PlatformServices& services, Outputs outputs);

    // `arguments` come without the program's name. Returns the exit status: 0 when the command has
    // finished, whatever it warned of, and 1 when it failed; the last line on standard error is then
    // "error: " and the reason. Throws nothing.
    int run(std::span<const std::string> arguments);

private:
    void parseAndExecute(std::span<const std::string> arguments);
    void execute(const Command& command);
    void printPermission();
    void record(const RecordOptions& options);
    void announceLaunch(const RecordOptions& options, const std::optional<std::string>& recordingId);
    void recordAndPrint(const RecordOptions& options);
    void reportRecordingFailure(
        const std::exception_ptr& error, const std::optional<std::string>& recordingId);
    void warn(const std::string& message);

    PlatformServices& services_;
    Outputs outputs_;
    GlimtoCaptureEventEmitter emitter_;
};

} // namespace glimto
