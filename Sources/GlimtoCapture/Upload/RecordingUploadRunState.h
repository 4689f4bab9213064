#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Upload/UploadWireFormat.h"

namespace glimto {

// What one run has prepared and uploaded so far: first of its background passes, and once they have ended of
// its final upload. Used by one thread at a time.
struct RecordingUploadRunState {
    // The checked answer to the creation of the remote recording; absent before.
    std::optional<CreateRecordingResponse> preparedCreateResponse;

    std::set<std::string> uploadedObjectKeys;

    // Segments that were discovered and not sent yet, in the order of discovery.
    std::vector<std::string> pendingSegmentObjectKeys;

    // The number of the segment that is looked for next.
    int nextVideoSegmentIndex = 0;
    int nextAudioSegmentIndex = 0;

    // Notes an object as sent.
    void addUploadedKey(const std::string& key);

    // Looks for segments of a track ("video" or "audio") that were finished since it was last asked. They are
    // whole on the disk as soon as they have their name.
    void discoverTrackSegments(
        const std::filesystem::path& outputDirectory, std::string_view track, std::string_view objectPrefix);
};

} // namespace glimto
