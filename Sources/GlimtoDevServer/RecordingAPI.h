#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "ObjectStore.h"
#include "RecordingRegistry.h"
#include "UploadURLSigner.h"

namespace glimto {

// A request that is answered with this status and {"error":{"message":...}}.
class APIError : public std::runtime_error {
public:
    APIError(int status, const std::string& message)
        : std::runtime_error(message)
        , status_(status)
    {
    }
    int status() const { return status_; }

private:
    int status_;
};

// What the server says to API requests and to its own pages, apart from HTTP. All operations throw APIError,
// and PlatformError when the disk fails. Any thread may call.
class RecordingAPI {
public:
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    static constexpr std::size_t mostKeysPerRequest = 50'000;
    static constexpr int longestExpirySeconds = 3600;

    // The references outlive the API.
    RecordingAPI(
        RecordingRegistry& recordings, ObjectStore& objects, const UploadURLSigner& signer, Clock clock);

    // The recording and what may be uploaded for it. Without an id of the client's one is chosen.
    nlohmann::json createRecording(const std::string& body);

    nlohmann::json readRecording(const std::string& recordingId) const;

    // One signed PUT for each key, in the order of the request; a key named twice comes once. `origin` is
    // how the client reaches this server, such as "http://localhost:3000".
    nlohmann::json uploadURLs(
        const std::string& recordingId, const std::string& body, const std::string& origin);

    // Checks that every required object and every segment of the manifest is there in its full size, and
    // marks the recording as uploaded.
    nlohmann::json completeRecording(const std::string& recordingId);

    // For the scripts of the pages: {"recordings":[...]}, newest first, and one of them.
    nlohmann::json listRecordings() const;
    nlohmann::json recordingDetails(const std::string& recordingId) const;

    // Refuses an upload that is not signed for exactly this. `key` is the object's.
    void requireUploadAllowed(const std::string& method, const std::string& key,
        const std::optional<std::string>& expires, const std::optional<std::string>& signature) const;

private:
    Recording requireRecording(const std::string& recordingId) const;
    nlohmann::json describe(const Recording& recording) const;
    std::size_t checkObjects(const std::string& recordingId) const;

    RecordingRegistry& recordings_;
    ObjectStore& objects_;
    const UploadURLSigner& signer_;
    Clock clock_;
};

// The keys below a recording's prefix that make it whole, and those that it may have besides segments.
std::vector<std::string> requiredRelativeKeys();
std::vector<std::string> optionalRelativeKeys();

// Whether the recording may have an object with this key (prefix included).
bool isAllowedKey(const std::string& recordingId, const std::string& key);

} // namespace glimto
