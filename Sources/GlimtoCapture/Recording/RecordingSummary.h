#pragma once

#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Artifacts/OutputPlan.h"
#include "Artifacts/RecordingMetadataJSON.h"
#include "Options/RecordOptions.h"
#include "Platform/CaptureOpening.h"

namespace glimto {

// The lines that tell a person what is about to be recorded.
std::vector<std::string> recordingStartLines(
    const RecordOptions& options, const CaptureFacts& facts, const OutputPlan& plan);

// The lines that tell a person what was recorded.
std::vector<std::string> recordingSummaryLines(
    const RecordOptions& options, const RecordingMetadataJSON& metadata);

// What a finished recording is, with the thumbnail if it is on the disk.
RecordingMetadataJSON recordingMetadata(const RecordOptions& options, const CaptureFacts& facts,
    const OutputPlan& plan, const CapturedTracks& tracks);

} // namespace glimto
