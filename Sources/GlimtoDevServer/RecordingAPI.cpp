#include "RecordingAPI.h"

#include <algorithm>
#include <random>
#include <regex>
#include <set>
#include <utility>

#include "RecordingKeys.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

constexpr std::size_t mostValuesPerRequest = 4 * RecordingAPI::mostKeysPerRequest;

nlohmann::json recordingJSON(const Recording& recording)
{
    const auto prefix = objectPrefix(recording.recordingId);
    return {{"recordingId", recording.recordingId}, {"organizationId", devOrganizationId}, {"prefix", prefix},
        {"manifestKey", prefix + "/manifest.json"}, {"state", recording.state}};
}

std::string escapedForPattern(const std::string& text)
{
    std::string escaped;
    for (const char character : text) {
        if (character == '.')
            escaped += '\\';
        escaped += character;
    }
    return escaped;
}

nlohmann::json segmentPattern(const std::string& prefix, const std::string& track)
{
    return {{"regex", "^" + escapedForPattern(prefix) + "/segments/" + track + "/segment_[0-9]{3,}\\.m4s$"}};
}

nlohmann::json plannedUploads(const std::string& prefix, const std::vector<std::string>& relativeKeys)
{
    auto planned = nlohmann::json::array();
    for (const auto& key : relativeKeys)
        planned.push_back({{"key", prefix + "/" + key}});
    return planned;
}

nlohmann::json uploadInstructions(const std::string& recordingId)
{
    const auto prefix = objectPrefix(recordingId);
    return {{"objectPrefix", prefix}, {"manifestKey", prefix + "/manifest.json"},
        {"allowedSegmentKeyPatterns",
            {{"video", segmentPattern(prefix, "video")}, {"audio", segmentPattern(prefix, "audio")}}},
        {"plannedUploads",
            {{"required", plannedUploads(prefix, requiredRelativeKeys())},
                {"optional", plannedUploads(prefix, optionalRelativeKeys())}}}};
}

nlohmann::json parsedObject(const std::string& body)
{
    auto json = parseBoundedJSON(body, mostValuesPerRequest);
    if (!json.is_object())
        throw APIError(400, "The request body must be a JSON object.");
    return json;
}

std::string generatedRecordingId()
{
    std::random_device random;
    std::uniform_int_distribution<int> letter('a', 'z');
    std::string id = "rec_";
    for (int count = 0; count < 16; ++count)
        id += static_cast<char>(letter(random));
    return id;
}

bool isSegmentKey(const std::string& relativeKey)
{
    static const std::regex pattern("segments/(video|audio)/segment_[0-9]{3,}\\.m4s");
    return std::regex_match(relativeKey, pattern);
}

// The manifest's text values at `keys`, where they are.
void collectKeys(const nlohmann::json& json, std::vector<std::string>& found)
{
    for (const char* name : {"initSegmentKey", "playlistKey", "key"}) {
        if (json.contains(name) && json.at(name).is_string())
            found.push_back(json.at(name).get<std::string>());
    }
}

void copyIf(bool (nlohmann::json::*is)() const noexcept, const char* name, const nlohmann::json& from,
    nlohmann::json& to)
{
    if (from.contains(name) && (from.at(name).*is)())
        to[name] = from.at(name);
}

// What the manifest tells of the picture and the length.
void addFacts(const nlohmann::json& manifest, nlohmann::json& details)
{
    copyIf(&nlohmann::json::is_number, "totalDuration", manifest, details);
    const auto video = manifest.contains("video") ? manifest.at("video") : nlohmann::json();
    for (const char* name : {"width", "height", "framesPerSecond"})
        copyIf(&nlohmann::json::is_number_integer, name, video, details);
    copyIf(&nlohmann::json::is_boolean, "hasAudio", video, details);
}

} // namespace

std::vector<std::string> requiredRelativeKeys()
{
    return {"manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4"};
}

std::vector<std::string> optionalRelativeKeys()
{
    return {"segments/video/playlist.m3u8", "segments/audio/init.mp4", "segments/audio/playlist.m3u8",
        "thumbnail.jpg", "events.json"};
}

bool isAllowedKey(const std::string& recordingId, const std::string& key)
{
    const auto prefix = objectPrefix(recordingId) + "/";
    if (!isObjectKey(key) || !key.starts_with(prefix))
        return false;
    const auto relativeKey = key.substr(prefix.size());
    const auto isOneOf = [&](const std::vector<std::string>& keys) {
        return std::find(keys.begin(), keys.end(), relativeKey) != keys.end();
    };
    return isOneOf(requiredRelativeKeys()) || isOneOf(optionalRelativeKeys()) || isSegmentKey(relativeKey);
}

RecordingAPI::RecordingAPI(
    RecordingRegistry& recordings, ObjectStore& objects, const UploadURLSigner& signer, Clock clock)
    : recordings_(recordings)
    , objects_(objects)
    , signer_(signer)
    , clock_(std::move(clock))
{
}

nlohmann::json RecordingAPI::createRecording(const std::string& body)
{
    const auto request = parsedObject(body);
    std::string id = generatedRecordingId();
    if (request.contains("recordingId") && !request.at("recordingId").is_null()) {
        if (!request.at("recordingId").is_string())
            throw APIError(400, "recordingId must be a text.");
        id = request.at("recordingId").get<std::string>();
    }
    if (!isRecordingId(id))
        throw APIError(
            400, "recordingId must be 1 to 128 letters, digits or \"._=@-\" and neither \".\" nor \"..\".");
    const auto recording = recordings_.open(id, clock_());
    return {{"recording", recordingJSON(recording)}, {"uploadInstructions", uploadInstructions(id)}};
}

Recording RecordingAPI::requireRecording(const std::string& recordingId) const
{
    if (auto recording = recordings_.find(recordingId))
        return *recording;
    throw APIError(404, "There is no such recording.");
}

nlohmann::json RecordingAPI::readRecording(const std::string& recordingId) const
{
    return {{"recording", recordingJSON(requireRecording(recordingId))}};
}

nlohmann::json RecordingAPI::uploadURLs(
    const std::string& recordingId, const std::string& body, const std::string& origin)
{
    requireRecording(recordingId);
    const auto request = parsedObject(body);
    const auto expiresIn = request.value("expiresIn", nlohmann::json());
    if (!expiresIn.is_number_integer() || expiresIn < 1 || expiresIn > longestExpirySeconds)
        throw APIError(400, "expiresIn must be a whole number of seconds from 1 to 3600.");
    const auto keys = request.value("keys", nlohmann::json());
    if (!keys.is_array() || keys.size() > mostKeysPerRequest)
        throw APIError(400, "keys must be a list of at most 50000 object keys.");

    const auto expiry = clock_() + std::chrono::seconds(expiresIn.get<int>());
    auto uploads = nlohmann::json::array();
    std::set<std::string> seen;
    for (const auto& entry : keys) {
        if (!entry.is_string())
            throw APIError(400, "keys must be a list of texts.");
        const auto key = entry.get<std::string>();
        if (!isAllowedKey(recordingId, key))
            throw APIError(400, "The recording may not have an object with one of these keys.");
        if (!seen.insert(key).second)
            continue;
        const auto type = contentTypeOfKey(key);
        uploads.push_back(
            {{"key", key}, {"method", "PUT"}, {"contentType", type}, {"headers", {{"Content-Type", type}}},
                {"url", origin + "/objects/" + key + "?" + signer_.query("PUT", key, expiry)}});
    }
    if (!uploads.empty())
        recordings_.setState(recordingId, RecordingState::uploading);
    return {{"uploads", uploads}};
}

std::size_t RecordingAPI::checkObjects(const std::string& recordingId) const
{
    const auto prefix = objectPrefix(recordingId) + "/";
    std::set<std::string> checked;
    const auto require = [&](const std::string& key) {
        if (objects_.size(key).value_or(0) == 0)
            throw APIError(409, "The object " + key + " is missing or empty.");
        checked.insert(key);
    };
    for (const auto& key : requiredRelativeKeys())
        require(prefix + key);

    const auto manifest = objects_.json(prefix + "manifest.json");
    if (!manifest.is_object() || !manifest.value("segments", nlohmann::json()).is_array())
        throw APIError(409, "The manifest cannot be read.");
    std::vector<std::string> keys;
    collectKeys(manifest, keys);
    collectKeys(manifest.value("audio", nlohmann::json()), keys);
    for (const auto& key : keys) {
        if (!isAllowedKey(recordingId, key))
            throw APIError(409, "The manifest names an object that is not the recording's.");
        require(key);
    }
    for (const char* list : {"segments", "audioSegments"}) {
        for (const auto& segment : manifest.value(list, nlohmann::json::array())) {
            keys.clear();
            collectKeys(segment, keys);
            if (keys.size() != 1 || !isAllowedKey(recordingId, keys.front()))
                throw APIError(409, "The manifest names an object that is not the recording's.");
            require(keys.front());
            const auto bytes = segment.value("bytes", nlohmann::json());
            if (!bytes.is_number_unsigned() || bytes != *objects_.size(keys.front()))
                throw APIError(
                    409, "The object " + keys.front() + " has not the size that the manifest tells.");
        }
    }
    return checked.size();
}

nlohmann::json RecordingAPI::completeRecording(const std::string& recordingId)
{
    requireRecording(recordingId);
    const auto count = checkObjects(recordingId);
    const auto recording = recordings_.setState(recordingId, RecordingState::uploaded);
    return {{"recording", recordingJSON(recording)}, {"checkedObjectCount", count}};
}

nlohmann::json RecordingAPI::describe(const Recording& recording) const
{
    const auto prefix = objectPrefix(recording.recordingId);
    const auto objects = objects_.objects(prefix);
    std::uint64_t bytes = 0;
    std::size_t segments = 0;
    for (const auto& object : objects) {
        bytes += object.bytes;
        segments += object.key.ends_with(".m4s") ? 1 : 0;
    }
    nlohmann::json details = {{"recordingId", recording.recordingId}, {"createdAt", recording.createdAt},
        {"state", recording.state}, {"objectCount", objects.size()}, {"segmentCount", segments},
        {"bytes", bytes}, {"hasThumbnail", objects_.file(prefix + "/thumbnail.jpg").has_value()},
        {"hasEvents", objects_.file(prefix + "/events.json").has_value()},
        {"isPlayable", recording.state == RecordingState::uploaded}};
    addFacts(objects_.json(prefix + "/manifest.json"), details);
    return details;
}

nlohmann::json RecordingAPI::listRecordings() const
{
    auto described = nlohmann::json::array();
    for (const auto& recording : recordings_.all())
        described.push_back(describe(recording));
    return {{"recordings", described}};
}

nlohmann::json RecordingAPI::recordingDetails(const std::string& recordingId) const
{
    return describe(requireRecording(recordingId));
}

void RecordingAPI::requireUploadAllowed(const std::string& method, const std::string& key,
    const std::optional<std::string>& expires, const std::optional<std::string>& signature) const
{
    switch (signer_.judge(method, key, expires, signature, clock_())) {
    case SignatureVerdict::valid:
        break;
    case SignatureVerdict::unsignedRequest:
        throw APIError(403, "The upload URL is not signed.");
    case SignatureVerdict::wrong:
        throw APIError(403, "The upload URL is not signed for this request.");
    case SignatureVerdict::expired:
        throw APIError(403, "The upload URL has expired.");
    }
    if (!isObjectKey(key))
        throw APIError(400, "The object key is not allowed.");
}

} // namespace glimto
