#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "Options/RecordingUploadOptions.h"
#include "Platform/ProcessEnvironment.h"
#include "Support/FileLock.h"
#include "Upload/RecordingUploadJob.h"

namespace glimto {

// Whether the one who opens a take is about to record into it, or uploads what is there.
enum class TakeUse { capturing, uploading };

// A take's directory in the hands of this process: its job ("upload-job.json"), the lock that keeps other
// processes away (".recording-owner.lock"), and the marker by which others cancel its upload
// (".upload-canceled").
//
// The lock is held as long as the store lives. The job file is whole at any moment: every write goes to
// a temporary file that then takes its place. Only its owner may read it. Used by one upload at a time.
class RecordingUploadJobStore {
public:
    // Opens the take: makes its directory and its job when it is to be captured, and checks the job that is
    // there otherwise. `options` are those of the command, absent for a recording that stays local.
    // `managedRoot` is the directory in which takes are named for their recording.
    //
    // Throws CLIError with the reason, TaskCancellationError when the upload was canceled, and
    // PlatformError.
    RecordingUploadJobStore(std::filesystem::path directory,
        const std::optional<RecordingUploadOptions>& options, TakeUse use,
        const std::optional<std::filesystem::path>& managedRoot);

    const std::filesystem::path& directory() const { return directory_; }

    RecordingUploadJob read() const;
    void write(const RecordingUploadJob& job);

    // Counts an attempt, makes the job `uploading` and returns it. Throws CLIError "Recording job is not
    // pending upload." when it is local, completed or canceled.
    RecordingUploadJob beginUpload();

    // Records the state, or `canceled` when the marker is there, and the last error or that there is none.
    void setState(RecordingUploadJob::State state, const std::optional<std::string>& error = std::nullopt);

    // Throws TaskCancellationError when the marker is there. Cheap: asked before every request.
    void checkCancellation() const;
    std::filesystem::path cancelMarker() const;

    // "rec_" and 16 random lowercase letters.
    static std::string newRecordingId();

    // `url` without the slashes at its end.
    static std::string origin(std::string_view url);

    // SHA-256 of the trimmed access key. Throws CLIError when there is none or nothing remains.
    static std::string fingerprint(const std::optional<std::string>& accessKey);

    // Whether the directory holds a job, of whatever kind.
    static bool hasJob(const std::filesystem::path& directory);

    // "Library/Application Support/Glimto/Recordings" in the user's home; absent without a home.
    static std::optional<std::filesystem::path> managedRecordingsRoot(const ProcessEnvironment& environment);

private:
    void createJob(const std::optional<RecordingUploadOptions>& options, bool isManaged);
    void checkJob(const std::optional<RecordingUploadOptions>& options, bool isManaged) const;
    bool isCanceled() const;

    std::filesystem::path directory_;
    FileLock ownership_;
};

// What a directory with a job holds and what can be done about it, in a sentence for the user. Absent when
// there is no job that can be read.
std::optional<std::string> describeUploadJob(const std::filesystem::path& directory);

} // namespace glimto
