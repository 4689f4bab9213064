#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "CommandLine/OpenCommand.h"
#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Options/Command.h"
#include "Platform/PlatformServices.h"
#include "Progress/ProgressChannel.h"
#include "Progress/StatusLine.h"
#include "Stills/ScreenshotMetadataJSON.h"
#include "Stills/ClipboardImageWriter.h"
#include "Support/LineOutput.h"

namespace glimto {

// Runs one command line: parses it, sees to it that nobody else captures the screen, runs the command,
// prints its results and turns every failure into one line on standard error.
class Driver {
public:
    // The services and outputs outlive the driver. `progress` is what the parent process has opened to hear
    // how far a recording or an upload is. Whoever has a `statusLine` is a person at a terminal, which
    // `outputs` are: hints come before an error and after a take.
    Driver(PlatformServices& services, Outputs outputs, ProgressDescriptor progress = {},
        std::shared_ptr<StatusLine> statusLine = nullptr);

    // `arguments` come without the program's name. Returns the exit status: 0 when the command has
    // finished, whatever it warned of, and 1 when it failed; the last line on standard error is then
    // "error: " and the reason. Throws nothing.
    int run(std::span<const std::string> arguments);

private:
    // Lines of an error's message that are the program's own. The message of an unknown window has JSON on a
    // second one; a line break in any other message comes from outside, and makes no line.
    enum class Lines { one, two };

    void printError(const std::string& message, Lines lines);
    void parseAndExecute(std::span<const std::string> arguments);
    void execute(const Command& command);
    void printPermission();
    void screenshot(const ScreenshotOptions& options);
    ScreenshotMetadataJSON captureScreenshot(const ScreenshotOptions& options);
    ClipboardImageWriter clipboardImageWriter();
    void copyImage(const std::filesystem::path& path);
    void open(OpenAction action, const std::filesystem::path& path);
    void putOnClipboard(const ClipboardImageOptions& options);
    void recognizeText(const TextRecognitionOptions& options);
    void record(const RecordOptions& options);
    void upload(const UploadRecordingOptions& options);
    void runRecording(const RecordOptions& options);
    std::vector<std::shared_ptr<ProgressSink>> progressSinks();
    void giveHints(std::span<const std::string> arguments, const std::string& message) noexcept;
    std::vector<std::string> displayHints() const;
    void hint(const std::vector<std::string>& hints);
    void warn(const std::string& message);

    PlatformServices& services_;
    Outputs outputs_;
    ProgressDescriptor progress_;
    std::shared_ptr<StatusLine> statusLine_; // shared with who draws it; null without a person
    std::vector<std::string> hints_; // of the command that failed
    GlimtoCaptureEventEmitter emitter_;
};

} // namespace glimto
