#include "RecordingRegistry.h"

#include <algorithm>
#include <utility>

#include "RecordingKeys.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/JSONFields.h"
#include "Support/JSONText.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"
#include "Support/TimeStamps.h"

namespace glimto {

namespace {

constexpr std::size_t mostBytes = 64 << 10;

} // namespace

RecordingRegistry::RecordingRegistry(std::filesystem::path directory)
    : directory_(std::move(directory))
{
    makeDirectories(directory_);
}

std::filesystem::path RecordingRegistry::file(const std::string& recordingId) const
{
    return directory_ / (recordingId + ".json");
}

std::optional<Recording> RecordingRegistry::read(const std::filesystem::path& path) const
{
    try {
        auto recording = readJSON<Recording>(readFile(FileBelow::of(path), mostBytes), path.filename());
        // The name of the file decides; another id inside would serve another recording's pages.
        if (isRecordingId(recording.recordingId) && file(recording.recordingId) == path)
            return recording;
    } catch (const PlatformError&) {
        // Nothing there, or nothing that can be read.
    }
    return std::nullopt;
}

void RecordingRegistry::write(const Recording& recording) const
{
    writeFileAtomically(file(recording.recordingId), encodePrettyJSON(toJSON(recording)) + "\n");
}

Recording RecordingRegistry::open(const std::string& recordingId, std::chrono::system_clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    if (auto known = read(file(recordingId)))
        return *known;
    const auto milliseconds
        = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const Recording recording = {.recordingId = recordingId,
        .state = RecordingState::created,
        .createdAt = iso8601Timestamp(now),
        .createdAtUnixMs = static_cast<std::uint64_t>(milliseconds)};
    write(recording);
    return recording;
}

std::optional<Recording> RecordingRegistry::find(const std::string& recordingId) const
{
    if (!isRecordingId(recordingId))
        return std::nullopt;
    const std::lock_guard lock(mutex_);
    return read(file(recordingId));
}

std::vector<Recording> RecordingRegistry::all() const
{
    const std::lock_guard lock(mutex_);
    std::vector<Recording> recordings;
    std::error_code error;
    std::filesystem::directory_iterator entries(directory_, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
        if (entries->path().extension() != ".json")
            continue;
        if (auto recording = read(entries->path()))
            recordings.push_back(std::move(*recording));
    }
    std::sort(recordings.begin(), recordings.end(), [](const Recording& left, const Recording& right) {
        return std::pair(left.createdAtUnixMs, left.recordingId)
            > std::pair(right.createdAtUnixMs, right.recordingId);
    });
    return recordings;
}

Recording RecordingRegistry::setState(const std::string& recordingId, RecordingState state)
{
    const std::lock_guard lock(mutex_);
    auto recording = read(file(recordingId));
    if (!recording)
        throw CLIError("There is no such recording.");
    const bool takesBack = recording->state == RecordingState::uploaded && state != RecordingState::uploaded;
    if (recording->state != state && !takesBack) {
        recording->state = state;
        write(*recording);
    }
    return *recording;
}

} // namespace glimto
