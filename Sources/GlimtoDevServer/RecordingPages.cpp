#include "RecordingPages.h"

#include <utility>

#include "RecordingKeys.h"
#include "Support/Text.h"

namespace glimto {

namespace {

template <typename Value>
void copyIf(const nlohmann::json& from, const char* name, nlohmann::json& to,
    bool (nlohmann::json::*is)() const noexcept)
{
    if (from.is_object() && from.contains(name) && (from.at(name).*is)())
        to[name] = from.at(name).template get<Value>();
}

// What the manifest tells of the picture and the length.
void addFacts(const nlohmann::json& manifest, nlohmann::json& details)
{
    copyIf<double>(manifest, "totalDuration", details, &nlohmann::json::is_number);
    if (!manifest.is_object())
        return;
    const auto video = manifest.value("video", nlohmann::json());
    copyIf<std::int64_t>(video, "width", details, &nlohmann::json::is_number_integer);
    copyIf<std::int64_t>(video, "height", details, &nlohmann::json::is_number_integer);
    copyIf<std::int64_t>(video, "framesPerSecond", details, &nlohmann::json::is_number_integer);
    copyIf<bool>(video, "hasAudio", details, &nlohmann::json::is_boolean);
}

} // namespace

RecordingPages::RecordingPages(const RecordingRegistry& recordings, const ObjectStore& objects)
    : recordings_(recordings)
    , objects_(objects)
{
}

nlohmann::json RecordingPages::describe(const Recording& recording) const
{
    const auto prefix = objectPrefix(recording.recordingId) + "/";
    nlohmann::json details = {{"recordingId", recording.recordingId}, {"createdAt", recording.createdAt},
        {"state", recordingStateName(recording.state)}};
    std::uint64_t bytes = 0;
    std::size_t segments = 0;
    const auto objects = objects_.objects(objectPrefix(recording.recordingId));
    for (const auto& object : objects) {
        bytes += object.bytes;
        if (object.key.ends_with(".m4s"))
            ++segments;
    }
    details["objectCount"] = objects.size();
    details["segmentCount"] = segments;
    details["bytes"] = bytes;
    details["hasThumbnail"] = objects_.file(prefix + "thumbnail.jpg").has_value();
    details["hasEvents"] = objects_.file(prefix + "events.json").has_value();
    details["isPlayable"] = recording.state == RecordingState::uploaded;
    addFacts(objects_.json(prefix + "manifest.json"), details);
    return details;
}

nlohmann::json RecordingPages::list() const
{
    auto described = nlohmann::json::array();
    for (const auto& recording : recordings_.all())
        described.push_back(describe(recording));
    return {{"recordings", described}};
}

nlohmann::json RecordingPages::details(const std::string& recordingId) const
{
    const auto recording = recordings_.find(recordingId);
    return recording ? describe(*recording) : nlohmann::json();
}

std::string pageForRecording(std::string page, const std::string& recordingId)
{
    return replacingAll(std::move(page), "{{id}}", recordingId);
}

} // namespace glimto
