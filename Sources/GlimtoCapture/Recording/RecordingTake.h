#pragma once

#include <memory>
#include <optional>

#include "Artifacts/OutputPlan.h"
#include "Artifacts/TakeDirectories.h"
#include "Content/PreparedCaptureSource.h"
#include "Platform/CaptureStream.h"
#include "Recording/ScreenCaptureOutput.h"
#include "Recording/SegmentedMP4Writer.h"
#include "Recording/ThumbnailWriter.h"

namespace glimto {

// What one recording consists of, as far as it has come: null is what was not made yet. The mixer, the
// microphone and the input event recorder of a take belong here as well.
//
// Stages of the end that hang own the stream and the writers together with this.
struct RecordingTake {
    OutputPlan plan;
    std::optional<TakeDirectories> directories; // set once the plan is prepared
    PreparedCaptureSource source;
    std::shared_ptr<SegmentedMP4Writer> writer;
    std::shared_ptr<ThumbnailWriter> thumbnailWriter;
    std::shared_ptr<ScreenCaptureOutput> output;
    std::shared_ptr<CaptureStream> stream;

    // Ends a recording that failed: the stream's outputs go first, then the microphone, then the writer.
    // Finished segments stay on the disk; directories that hold nothing go.
    void abandon() noexcept;
};

} // namespace glimto
