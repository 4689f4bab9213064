#pragma once

#include <optional>
#include <string>

#include "Support/JSONObject.h"

namespace glimto {

// Where the files of a finished recording are and what it contains. The JSON keys equal the field names.
// All paths are absolute.
struct RecordingMetadataJSON {
    std::string path; // the take's directory
    std::string playlistPath;
    std::string manifestPath;
    std::optional<std::string> thumbnailPath; // present only when the file exists
    int width = 0; // pixels
    int height = 0;
    int framesPerSecond = 0; // as requested
    int videoSegmentCount = 0; // media segments, without the initialization segment
    int audioSegmentCount = 0;
    bool includesSystemAudio = false; // system audio is part of the audio track
    bool requestedSystemAudio = false; // it was asked for
    bool includesAudioSegments = false; // `audioSegmentCount` is greater than 0
    std::string sourceDescription;
};

GLIMTO_JSON_OBJECT(RecordingMetadataJSON, path, playlistPath, manifestPath, thumbnailPath, width, height,
    framesPerSecond, videoSegmentCount, audioSegmentCount, includesSystemAudio, requestedSystemAudio,
    includesAudioSegments, sourceDescription)

} // namespace glimto
