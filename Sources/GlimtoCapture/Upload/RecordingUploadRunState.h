#pragma once

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Support/Guarded.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// What one run has prepared and uploaded so far, shared by its background passes and its final upload.
// Safe to use from any thread.
class RecordingUploadRunState {
public:
    // The checked answer to the creation of the remote recording; absent before.
    std::optional<CreateRecordingResponse> preparedCreateResponse() const;
    void setPreparedCreateResponse(CreateRecordingResponse response);

    bool isUploaded(const std::string& key) const;
    // Notes an object as sent.
    void addUploadedKey(const std::string& key);

    // Looks for segments of a track ("video" or "audio") that were finished since it was last asked. They are
    // whole on the disk as soon as they have their name.
    void discoverTrackSegments(
        const std::filesystem::path& outputDirectory, std::string_view track, std::string_view objectPrefix);

    // Object keys of segments that were discovered and not sent yet, in the order of discovery.
    std::vector<std::string> pendingSegmentObjectKeys() const;

    // The number of the segment that is looked for next.
    int nextVideoSegmentIndex() const;
    int nextAudioSegmentIndex() const;

private:
    struct Data {
        std::optional<CreateRecordingResponse> preparedCreateResponse;
        std::set<std::string> uploadedObjectKeys;
        std::vector<std::string> pendingSegmentObjectKeys;
        int nextVideoSegmentIndex = 0;
        int nextAudioSegmentIndex = 0;
    };
    Guarded<Data> data_;
};

} // namespace glimto
