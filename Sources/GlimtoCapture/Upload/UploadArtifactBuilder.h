#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "Platform/Service.h"
#include "Platform/TextPattern.h"
#include "Upload/UploadArtifact.h"
#include "Upload/UploadWireFormat.h"

namespace glimto {

// Turns a take's directory into the list of objects to upload, in the order in which they are sent.
//
// Throws CLIError when the take and the API's instructions do not go together, and PlatformError when the
// manifest cannot be read or a pattern is no good. Nothing may be sent of a plan that failed.
class UploadArtifactBuilder {
public:
    // `patterns` outlives the builder.
    explicit UploadArtifactBuilder(const Service<TextPatternCompiler>& patterns);

    // The plan for a finished take: the manifest with object keys, the media it names, and what else the
    // API plans and the take has. Leaves out what is uploaded already, by its object keys.
    std::vector<UploadArtifact> buildUploadArtifacts(const std::filesystem::path& outputDirectory,
        const APIRecording& session, const UploadInstructions& instructions,
        const std::set<std::string>& uploadedObjectKeys) const;

    // The plan for a take that still grows: initialization segments, planned files beside segments/, and
    // the finished segments with the given object keys. A file that does not exist yet is left for later,
    // and so are "manifest.json", which is uploaded only with object keys, and "events.json", of which only
    // the end of the recording says that it is final.
    std::vector<UploadArtifact> buildBackgroundUploadArtifacts(const std::filesystem::path& outputDirectory,
        const UploadInstructions& instructions, const std::set<std::string>& uploadedObjectKeys,
        const std::vector<std::string>& discoveredSegmentObjectKeys) const;

private:
    const Service<TextPatternCompiler> patterns_;
};

} // namespace glimto
