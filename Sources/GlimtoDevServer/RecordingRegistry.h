#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Support/JSONObject.h"

namespace glimto {

enum class RecordingState { created, uploading, uploaded };
NLOHMANN_JSON_SERIALIZE_ENUM(RecordingState,
    {{RecordingState::created, "created"}, {RecordingState::uploading, "uploading"},
        {RecordingState::uploaded, "uploaded"}})

struct Recording {
    std::string recordingId;
    RecordingState state = RecordingState::created;
    std::string createdAt; // ISO 8601, UTC
    std::uint64_t createdAtUnixMs = 0;
};
GLIMTO_JSON_OBJECT(Recording, recordingId, state, createdAt, createdAtUnixMs)

// The recordings that this server knows, each in a JSON file of its own, so that they outlive the server.
// Any thread may call; operations throw PlatformError when the disk fails.
class RecordingRegistry {
public:
    explicit RecordingRegistry(std::filesystem::path directory);

    // The recording with this id, made when there is none.
    Recording open(const std::string& recordingId, std::chrono::system_clock::time_point now);

    std::optional<Recording> find(const std::string& recordingId) const;

    // Newest first.
    std::vector<Recording> all() const;

    // `uploading` does not take back `uploaded`.
    Recording setState(const std::string& recordingId, RecordingState state);

private:
    std::filesystem::path file(const std::string& recordingId) const;
    std::optional<Recording> read(const std::filesystem::path& path) const;
    void write(const Recording& recording) const;

    std::filesystem::path directory_;
    mutable std::mutex mutex_; // one change of the files at a time
};

} // namespace glimto
