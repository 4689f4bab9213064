#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Lifecycle/GlimtoCaptureEventEmitter.h"
#include "Options/RecordOptions.h"
#include "Platform/PlatformServices.h"
#include "Progress/RecordingFigures.h"
#include "Support/LineOutput.h"
#include "Upload/RecordingUploadJobStore.h"

namespace glimto {

// The command `record`: one recording with everything around it, from the event "launched" to the report of
// its upload. Used once.
class RecordCommand {
public:
    // The services and outputs outlive the process's last command. `figures` are what the recording counts.
    RecordCommand(PlatformServices& services, Outputs outputs,
        std::shared_ptr<RecordingFigures> figures = std::make_shared<RecordingFigures>());

    // Throws the failure of whatever failed, after it was told on standard output.
    void run(const RecordOptions& options);

private:
    void announceLaunch(const RecordOptions& options) const;
    void recordLocally(const RecordOptions& options);
    void recordAndUpload(const RecordOptions& options);
    void record(const RecordOptions& options, const std::function<void()>& captureStarted,
        const std::function<void()>& captureFinished);
    void tellWhatIsThere(const std::filesystem::path& directory);
    void reportFailure(const std::exception_ptr& error) const;
    std::optional<std::filesystem::path> managedRoot() const;

    PlatformServices& services_;
    Outputs outputs_;
    std::shared_ptr<RecordingFigures> figures_;
    GlimtoCaptureEventEmitter emitter_;
    std::optional<std::string> recordingId_; // as far as it is known
    bool isUploading_ = false; // the take is complete, and only its upload is left
};

} // namespace glimto
