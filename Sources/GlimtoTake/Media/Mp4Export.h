#pragma once

#include <filesystem>
#include <optional>

#include "GlimtoTake/Media/TakeSpan.h"

namespace glimto {

enum class ExportTracks { all, videoOnly, audioOnly };

// Writes an MP4 file that plays while it loads ("moov" first), without encoding again: packets are copied.
// Only where the span begins within a group of pictures are the rest of that group's pictures encoded again,
// so that the file begins exactly there. Sound keeps its place to the sample. Throws CLIError and
// PlatformError.
void exportMp4(const TakeExamination& take, const TakeSpan& span, ExportTracks tracks,
    const std::filesystem::path& target, const TakeProgress& progress);

} // namespace glimto
