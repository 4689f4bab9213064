#pragma once

#include <deque>
#include <filesystem>
#include <vector>

#include "GlimtoTake/Media/Compositor.h"
#include "GlimtoTake/Media/TakeSpan.h"
#include "GlimtoTake/Plan/ZoomPlan.h"

namespace glimto {

// What a rendering needs besides the take.
struct RenderPlan {
    std::vector<Zoom> zooms;
    std::deque<RecordedEvent> events; // empty draws no pointer
    CanvasLayout layout;
    double framesPerSecond = 30; // greater than 0
};

// Writes an MP4 file of the span: pictures and pointer drawn by a Compositor and encoded by x264, the sound
// copied, in its place. A frame comes only where something changes. The same take and plan give the same
// file. Throws CLIError and PlatformError.
void renderTake(const TakeExamination& take, const TakeSpan& span, const RenderPlan& plan,
    const std::filesystem::path& target, const TakeProgress& progress);

} // namespace glimto
