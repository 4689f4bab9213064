#include "Upload/UploadManifest.h"

#include "Support/JSONFields.h"
#include "Upload/ObjectKeys.h"

namespace glimto {

// Found by the segment's type. Its path is the "key".
static void readFields(const JSONFields& fields, CapturedSegment& segment)
{
    fields.read("index", segment.index);
    fields.read("key", segment.relativeKey);
    fields.read("duration", segment.duration);
    fields.read("bytes", segment.bytes);
    fields.read("earliestPresentationTime", segment.earliestPresentationTime);
}

MediaManifest decodeMediaManifest(std::string_view text)
{
    return readJSON<MediaManifest>(text, "manifest.json");
}

MediaManifest rewritingObjectKeys(MediaManifest manifest, std::string_view objectPrefix)
{
    const auto rewrite = [objectPrefix](std::string& key) {
        key = objectKeyOf(objectPrefix, normalizeLocalArtifactKey(key));
    };
    rewrite(manifest.initSegmentKey);
    rewrite(manifest.playlistKey);
    if (manifest.audio) {
        rewrite(manifest.audio->initSegmentKey);
        rewrite(manifest.audio->playlistKey);
    }
    for (auto& segment : manifest.segments)
        rewrite(segment.relativeKey);
    if (manifest.audioSegments) {
        for (auto& segment : *manifest.audioSegments)
            rewrite(segment.relativeKey);
    }
    return manifest;
}

} // namespace glimto
