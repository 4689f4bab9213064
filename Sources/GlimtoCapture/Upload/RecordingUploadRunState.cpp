#include "Upload/RecordingUploadRunState.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>
#include <utility>

#include "Artifacts/CapturedSegment.h"
#include "Support/FileBelow.h"
#include "Upload/ObjectKeys.h"

namespace glimto {

std::optional<CreateRecordingResponse> RecordingUploadRunState::preparedCreateResponse() const
{
    return data_.with([](const Data& data) { return data.preparedCreateResponse; });
}

void RecordingUploadRunState::setPreparedCreateResponse(CreateRecordingResponse response)
{
    data_.with([&](Data& data) { data.preparedCreateResponse = std::move(response); });
}

bool RecordingUploadRunState::isUploaded(const std::string& key) const
{
    return data_.with([&](const Data& data) { return data.uploadedObjectKeys.contains(key); });
}

void RecordingUploadRunState::addUploadedKey(const std::string& key)
{
    data_.with([&](Data& data) {
        data.uploadedObjectKeys.insert(key);
        std::erase(data.pendingSegmentObjectKeys, key);
    });
}

void RecordingUploadRunState::discoverTrackSegments(
    const std::filesystem::path& outputDirectory, std::string_view track, std::string_view objectPrefix)
{
    const bool isVideo = track == "video";
    int index = isVideo ? nextVideoSegmentIndex() : nextAudioSegmentIndex();
    std::vector<std::string> found;
    while (true) {
        const auto key = segmentKey(track, index);
        if (!isRegularFile(fileURL(outputDirectory, key)))
            break;
        found.push_back(objectKeyOf(objectPrefix, key));
        ++index;
    }
    data_.with([&](Data& data) {
        (isVideo ? data.nextVideoSegmentIndex : data.nextAudioSegmentIndex) = index;
        for (auto& key : found) {
            const auto& pending = data.pendingSegmentObjectKeys;
            const bool isPending = std::find(pending.begin(), pending.end(), key) != pending.end();
            if (!isPending && !data.uploadedObjectKeys.contains(key))
                data.pendingSegmentObjectKeys.push_back(std::move(key));
        }
    });
}

std::vector<std::string> RecordingUploadRunState::pendingSegmentObjectKeys() const
{
    return data_.with([](const Data& data) { return data.pendingSegmentObjectKeys; });
}

int RecordingUploadRunState::nextVideoSegmentIndex() const
{
    return data_.with([](const Data& data) { return data.nextVideoSegmentIndex; });
}

int RecordingUploadRunState::nextAudioSegmentIndex() const
{
    return data_.with([](const Data& data) { return data.nextAudioSegmentIndex; });
}

} // namespace glimto
