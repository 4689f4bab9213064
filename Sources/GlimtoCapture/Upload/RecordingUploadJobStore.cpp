#include "Upload/RecordingUploadJobStore.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <limits>
#include <random>
#include <system_error>
#include <utility>
#include <vector>

#include "Artifacts/OutputPlan.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/FileBelow.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"
#include "Support/SHA256.h"
#include "Support/Text.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr const char* jobFileName = "upload-job.json";
constexpr const char* lockFileName = ".recording-owner.lock";
constexpr const char* cancelMarkerName = ".upload-canceled";
constexpr std::size_t mostJobBytes = 256 << 10;

// A file survives a power cut only when all directories that lead to it have reached the disk as well.
void syncJobDirectory(const fs::path& directory)
{
    try {
        syncDirectory(directory);
    } catch (const PlatformError&) {
        throw CLIError("Could not sync recording job directory.");
    }
}

void makeDurableDirectories(const fs::path& directory)
{
    std::error_code error;
    std::vector<fs::path> changed;
    for (auto path = directory; path.has_relative_path() && !fs::exists(path, error);
         path = path.parent_path())
        changed.push_back(path.parent_path());
    makeDirectories(directory);
    for (const auto& path : changed)
        syncJobDirectory(path);
}

fs::path withoutSymbolicLinks(const fs::path& path)
{
    std::error_code error;
    auto resolved = fs::weakly_canonical(path, error);
    return error ? path : resolved;
}

FileLock takeOwnership(const fs::path& directory)
{
    FileLock lock;
    switch (FileLock::tryAcquire(directory / lockFileName, lock)) {
    case FileLockOutcome::acquired:
        return lock;
    case FileLockOutcome::couldNotOpen:
        throw CLIError("Could not open recording ownership file.");
    case FileLockOutcome::heldByAnother:
        throw CLIError("Recording is in use by another process.");
    case FileLockOutcome::couldNotLock:
        break;
    }
    throw CLIError("Could not lock recording ownership file.");
}

std::uint64_t unixMilliseconds()
{
    const auto time = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}

} // namespace

RecordingUploadJobStore::RecordingUploadJobStore(fs::path directory,
    const std::optional<RecordingUploadOptions>& options, TakeUse use,
    const std::optional<fs::path>& managedRoot)
    : directory_(OutputPlan::forRoot(directory).root)
{
    constexpr const char* noJob = "Recording has no upload job. Automatic upload is not allowed.";
    if (use == TakeUse::uploading && !stands(directory_))
        throw CLIError(noJob); // a directory made for nothing would be left behind
    makeDurableDirectories(directory_);
    if (withoutSymbolicLinks(directory_) != directory_)
        throw CLIError("Recording output must not use symbolic links.");
    ownership_ = takeOwnership(directory_);
    OutputPlan::forRoot(directory_).removeLeftovers();

    const bool isManaged = managedRoot && directory_.parent_path() == withoutSymbolicLinks(*managedRoot);
    if (!hasJob(directory_)) {
        if (use == TakeUse::uploading)
            throw CLIError(noJob);
        createJob(options, isManaged);
        return;
    }
    checkJob(options, isManaged);
    checkCancellation();
    if (use == TakeUse::capturing)
        throw CLIError("Recording output already belongs to a started recording.");
}

void RecordingUploadJobStore::createJob(const std::optional<RecordingUploadOptions>& options, bool isManaged)
{
    // In the managed root the directory is named for the recording, so the name is the ID.
    const auto given = options ? trimmedNonEmpty(options->recordingId) : std::nullopt;
    const std::string name = directory_.filename().string();
    if (isManaged && given && *given != name)
        throw CLIError("Recording upload job ID does not match its local take directory.");

    RecordingUploadJob job;
    job.recordingId = given ? *given : isManaged ? name : newRecordingId();
    if (options) {
        job.mode = RecordingUploadJob::Mode::upload;
        job.apiBaseUrl = origin(options->apiBaseURL);
        job.credentialSha256 = fingerprint(options->accessKey);
    }
    job.createdAtUnixMs = unixMilliseconds();
    write(job);
}

void RecordingUploadJobStore::checkJob(
    const std::optional<RecordingUploadOptions>& options, bool isManaged) const
{
    const RecordingUploadJob job = read();
    if (job.version != RecordingUploadJob::supportedVersion)
        throw CLIError("Recording upload job version is not supported.");
    if (isManaged && directory_.filename() != job.recordingId)
        throw CLIError("Recording upload job ID does not match its local take directory.");
    if (!options) {
        if (job.mode == RecordingUploadJob::Mode::upload)
            throw CLIError("Upload recording cannot be opened as a local recording.");
        return;
    }
    const std::string wantedFingerprint = fingerprint(options->accessKey);
    const bool matches = job.mode == RecordingUploadJob::Mode::upload
        && job.apiBaseUrl == origin(options->apiBaseURL) && job.credentialSha256 == wantedFingerprint;
    if (!matches)
        throw CLIError("Recording upload destination or credential does not match its original job.");
}

RecordingUploadJob RecordingUploadJobStore::read() const
{
    const FileBelow file{directory_, jobFileName};
    if (std::error_code error;
        !fs::is_regular_file(fs::symlink_status(file.path(), error)) && stands(file.path()))
        throw CLIError("Recording upload job must be a regular file.");
    return decodeRecordingUploadJob(readFile(file, mostJobBytes));
}

void RecordingUploadJobStore::write(const RecordingUploadJob& job)
{
    // It holds a digest of the access key.
    writeFileAtomically(
        FileBelow{directory_, jobFileName}, encodeRecordingUploadJob(job), FileReaders::owner);
    syncJobDirectory(directory_);
}

RecordingUploadJob RecordingUploadJobStore::beginUpload()
{
    RecordingUploadJob job = read();
    using State = RecordingUploadJob::State;
    const bool isOver = job.state == State::completed || job.state == State::canceled;
    if (job.mode != RecordingUploadJob::Mode::upload || isOver)
        throw CLIError("Recording job is not pending upload.");
    if (job.uploadAttempts < std::numeric_limits<std::uint64_t>::max())
        ++job.uploadAttempts;
    job.state = isCanceled() ? State::canceled : State::uploading;
    job.lastError.reset();
    write(job);
    return job;
}

void RecordingUploadJobStore::setState(
    RecordingUploadJob::State state, const std::optional<std::string>& error)
{
    RecordingUploadJob job = read();
    job.state = isCanceled() ? RecordingUploadJob::State::canceled : state;
    job.lastError = error;
    write(job);
}

void RecordingUploadJobStore::checkCancellation() const
{
    if (isCanceled())
        throw TaskCancellationError();
}

bool RecordingUploadJobStore::isCanceled() const
{
    return stands(cancelMarker());
}

fs::path RecordingUploadJobStore::cancelMarker() const
{
    return directory_ / cancelMarkerName;
}

bool RecordingUploadJobStore::hasJob(const fs::path& directory)
{
    return stands(directory / jobFileName);
}

std::string RecordingUploadJobStore::newRecordingId()
{
    std::random_device system; // the system's secure source in both C++ runtimes
    std::uniform_int_distribution<int> letter(0, 25);
    std::string id = "rec_";
    for (int count = 0; count < 16; ++count)
        id += static_cast<char>('a' + letter(system));
    return id;
}

std::string RecordingUploadJobStore::origin(std::string_view url)
{
    while (url.ends_with('/'))
        url.remove_suffix(1);
    return std::string(url);
}

std::string RecordingUploadJobStore::fingerprint(const std::optional<std::string>& accessKey)
{
    const auto key = trimmedNonEmpty(accessKey);
    if (!key)
        throw CLIError("Recording upload requires an access key.");
    return sha256Hex(*key);
}

std::optional<fs::path> RecordingUploadJobStore::managedRecordingsRoot(const ProcessEnvironment& environment)
{
    const auto home = environment.variable("HOME");
    if (!home || !fs::path(*home).is_absolute())
        return std::nullopt;
    return fs::path(*home) / "Library" / "Application Support" / "Glimto" / "Recordings";
}

std::optional<std::string> describeUploadJob(const fs::path& directory)
{
    RecordingUploadJob job;
    try {
        job = decodeRecordingUploadJob(readFile({directory, jobFileName}, mostJobBytes));
    } catch (const Error&) {
        return std::nullopt;
    }
    const std::string holds = directory.string() + " holds the upload job of " + excerpt(job.recordingId);
    const std::string elsewhere = " or choose another directory.";
    if (job.state == RecordingUploadJob::State::completed)
        return holds + ", which is done, and its take: remove the directory" + elsewhere;
    const std::string reason = job.lastError ? " (" + excerpt(*job.lastError) + ")" : "";
    if (stands(directory / "manifest.json"))
        return holds + reason + " and its take: send it with `glimto-capture upload`" + elsewhere;
    return holds + reason + " and no finished take: remove " + (directory / jobFileName).string()
        + " to record there" + elsewhere;
}

} // namespace glimto
