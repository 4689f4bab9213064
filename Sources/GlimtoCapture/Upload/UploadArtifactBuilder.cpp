#include "Upload/UploadArtifactBuilder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "Artifacts/OutputPlan.h"
#include "Support/Errors.h"
#include "Support/FileBelow.h"
#include "Support/JSONText.h"
#include "Support/RegularFile.h"
#include "Support/Text.h"
#include "Upload/ObjectKeys.h"
#include "Upload/UploadInstructionsValidator.h"
#include "Upload/UploadManifest.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t mostManifestBytes = 32 << 20; // days of segments

// The list under construction: each key once, and none that is uploaded already.
class ArtifactList {
public:
    ArtifactList(fs::path root, const UploadInstructions& instructions,
        const std::set<std::string>& uploadedObjectKeys)
        : root_(std::move(root))
        , objectPrefix_(instructions.objectPrefix)
        , uploadedKeys_(uploadedObjectKeys)
    {
    }

    // Whether the object is listed, or uploaded already.
    bool covers(const std::string& key) const { return keys_.contains(key) || uploadedKeys_.contains(key); }

    void add(UploadArtifact artifact)
    {
        keys_.insert(artifact.key);
        artifacts_.push_back(std::move(artifact));
    }

    // False when the file is needed but does not exist.
    bool addFile(const std::string& relativeKey)
    {
        auto key = objectKeyOf(objectPrefix_, relativeKey);
        if (covers(key))
            return true;
        FileBelow file = fileURL(root_, relativeKey);
        const auto size = files_.sizeOf(file);
        if (!size)
            return false;
        add({std::move(file), std::move(key), relativeKey, static_cast<std::int64_t>(*size)});
        return true;
    }

    void validate(const UploadInstructionsValidator& validator) const
    {
        for (const auto& artifact : artifacts_)
            validator.validate(artifact.key);
    }

    std::vector<UploadArtifact> take() && { return std::move(artifacts_); }

private:
    fs::path root_;
    const std::string& objectPrefix_;
    const std::set<std::string>& uploadedKeys_;
    std::vector<UploadArtifact> artifacts_;
    std::set<std::string> keys_;
    FilesBelow files_;
};

// The playlist beside the video segments, which a take with sound has and the manifest does not name.
std::string variantPlaylistKey(const MediaManifest& manifest, const std::vector<std::string>& plannedKeys)
{
    auto key
        = normalizeObjectRelativeKey(replacingAll(manifest.initSegmentKey, "/init.mp4", "/playlist.m3u8"));
    if (!std::binary_search(plannedKeys.begin(), plannedKeys.end(), key))
        throw CLIError("Upload instructions do not allow planned local artifact: " + key);
    return key;
}

// The local keys of everything the manifest names, as it names them.
std::vector<std::string> manifestKeys(
    const MediaManifest& manifest, const std::vector<std::string>& plannedKeys)
{
    std::vector<std::string> keys = {manifest.initSegmentKey, manifest.playlistKey};
    if (manifest.video.hasAudio)
        keys.push_back(variantPlaylistKey(manifest, plannedKeys));
    for (const auto& segment : manifest.segments)
        keys.push_back(segment.relativeKey);
    if (manifest.audio) {
        keys.push_back(manifest.audio->initSegmentKey);
        keys.push_back(manifest.audio->playlistKey);
    }
    if (manifest.audioSegments) {
        for (const auto& segment : *manifest.audioSegments)
            keys.push_back(segment.relativeKey);
    }
    return keys;
}

void requirePlannedKeys(const UploadInstructions& instructions, const ArtifactList& list)
{
    std::set<std::string> missing;
    for (const auto& upload : instructions.plannedUploads.required) {
        if (!list.covers(upload.key))
            missing.insert(upload.key);
    }
    std::string names;
    for (const auto& key : missing)
        names += (names.empty() ? "" : ", ") + excerpt(key);
    if (!missing.empty())
        throw CLIError("Local artifacts are missing required upload key(s): " + names);
}

// What a take has beside its segments. The API plans what is uploaded, but may not ask for anything else that
// lies in the directory.
bool isArtifactBesideSegments(std::string_view relativeKey)
{
    const auto& names = OutputPlan::artifactNames;
    return relativeKey != "segments" && std::find(names.begin(), names.end(), relativeKey) != names.end();
}

// Whether a planned file has its final content as soon as it exists.
bool isFinalWhenItExists(const std::string& relativeKey, const UploadInstructions& instructions)
{
    if (relativeKey == "segments/video/init.mp4" || relativeKey == "segments/audio/init.mp4")
        return true;
    return isArtifactBesideSegments(relativeKey) && relativeKey != "manifest.json"
        && relativeKey != "events.json"
        && objectKeyOf(instructions.objectPrefix, relativeKey) != instructions.manifestKey;
}

} // namespace

UploadArtifactBuilder::UploadArtifactBuilder(const Service<TextPatternCompiler>& patterns)
    : patterns_(patterns)
{
}

std::vector<UploadArtifact> UploadArtifactBuilder::buildUploadArtifacts(const fs::path& outputDirectory,
    const APIRecording& session, const UploadInstructions& instructions,
    const std::set<std::string>& uploadedObjectKeys) const
{
    ArtifactList list(outputDirectory, instructions, uploadedObjectKeys);
    const MediaManifest manifest
        = decodeMediaManifest(readFile({outputDirectory, "manifest.json"}, mostManifestBytes));
    auto rewritten = encodePrettyJSON(toJSON(rewritingObjectKeys(manifest, instructions.objectPrefix)));
    if (!list.covers(session.manifestKey)) {
        const auto size = static_cast<std::int64_t>(rewritten.size());
        list.add({std::move(rewritten), session.manifestKey, "rewritten manifest.json", size});
    }

    const auto plannedKeys = plannedRelativeUploadKeys(instructions);
    for (const auto& named : manifestKeys(manifest, plannedKeys)) {
        const auto key = normalizeLocalArtifactKey(named);
        if (!list.addFile(key))
            throw CLIError("Local artifact file is missing: " + key);
    }
    for (const auto& key : plannedKeys) {
        if (isArtifactBesideSegments(key))
            list.addFile(key); // what is missing here is not part of this take
    }
    list.validate(UploadInstructionsValidator(instructions, patterns_));
    requirePlannedKeys(instructions, list);
    if (session.manifestKey != instructions.manifestKey)
        throw CLIError("API returned mismatched manifest keys.");
    return std::move(list).take();
}

std::vector<UploadArtifact> UploadArtifactBuilder::buildBackgroundUploadArtifacts(
    const fs::path& outputDirectory, const UploadInstructions& instructions,
    const std::set<std::string>& uploadedObjectKeys,
    const std::vector<std::string>& discoveredSegmentObjectKeys) const
{
    ArtifactList list(outputDirectory, instructions, uploadedObjectKeys);
    for (const auto& key : plannedRelativeUploadKeys(instructions)) {
        if (isFinalWhenItExists(key, instructions))
            list.addFile(key);
    }
    for (const auto& objectKey : discoveredSegmentObjectKeys)
        list.addFile(normalizeLocalArtifactKey(relativeObjectKey(objectKey, instructions.objectPrefix)));
    list.validate(UploadInstructionsValidator(instructions, patterns_));
    return std::move(list).take();
}

} // namespace glimto
