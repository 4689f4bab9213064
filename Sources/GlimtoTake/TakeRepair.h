#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Platform/ImageCodec.h"

namespace glimto {

// What a repair has done, or would do.
struct RepairReport {
    std::filesystem::path directory; // absolute
    bool wasWhole = false; // nothing had to be done
    std::vector<std::string> steps; // one sentence each, in order
    double duration = 0; // seconds, of the take as it is then
    CapturedTracks tracks;
};

enum class RepairMode { perform, tellOnly };

// Makes a take whole whose recording was killed, or failed: segments cut back to what holds, sound that ends
// with the picture, playlists, manifest, thumbnail and input events as the recorder would have written them.
//
// Nothing that can be read is given up, every file appears whole or not at all, and the manifest comes last:
// a repair that is broken off can be begun again. Throws CLIError when the take is being recorded or used by
// another process, or holds nothing to be saved, and PlatformError.
RepairReport repairTake(const std::filesystem::path& directory, RepairMode mode, ImageCodec& images);

} // namespace glimto
