#include "Artifacts/RecordingMetadataJSON.h"

#include "Support/Text.h"

namespace glimto {

nlohmann::json toJSON(const RecordingMetadataJSON& metadata)
{
    nlohmann::json object = {
        {"path", validUTF8(metadata.path)},
        {"playlistPath", validUTF8(metadata.playlistPath)},
        {"manifestPath", validUTF8(metadata.manifestPath)},
        {"width", metadata.width},
        {"height", metadata.height},
        {"framesPerSecond", metadata.framesPerSecond},
        {"videoSegmentCount", metadata.videoSegmentCount},
        {"audioSegmentCount", metadata.audioSegmentCount},
        {"includesSystemAudio", metadata.includesSystemAudio},
        {"requestedSystemAudio", metadata.requestedSystemAudio},
        {"includesAudioSegments", metadata.includesAudioSegments},
        {"sourceDescription", validUTF8(metadata.sourceDescription)},
    };
    if (metadata.thumbnailPath)
        object["thumbnailPath"] = validUTF8(*metadata.thumbnailPath);
    return object;
}

} // namespace glimto
