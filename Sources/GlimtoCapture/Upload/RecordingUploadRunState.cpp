#include "Upload/RecordingUploadRunState.h"

#include <algorithm>
#include <utility>

#include "Artifacts/CapturedSegment.h"
#include "Support/FileBelow.h"
#include "Upload/ObjectKeys.h"

namespace glimto {

void RecordingUploadRunState::addUploadedKey(const std::string& key)
{
    uploadedObjectKeys.insert(key);
    std::erase(pendingSegmentObjectKeys, key);
}

void RecordingUploadRunState::discoverTrackSegments(
    const std::filesystem::path& outputDirectory, std::string_view track, std::string_view objectPrefix)
{
    int& index = track == "video" ? nextVideoSegmentIndex : nextAudioSegmentIndex;
    for (;; ++index) {
        const auto relativeKey = segmentKey(track, index);
        if (!isRegularFile(fileURL(outputDirectory, relativeKey)))
            return;
        auto key = objectKeyOf(objectPrefix, relativeKey);
        if (std::ranges::count(pendingSegmentObjectKeys, key) == 0 && !uploadedObjectKeys.contains(key))
            pendingSegmentObjectKeys.push_back(std::move(key));
    }
}

} // namespace glimto
