#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Artifacts/MediaManifest.h"
#include "GlimtoTake/Media/TrackScan.h"
#include "GlimtoTake/Takes/Fragments.h"
#include "GlimtoTake/Takes/TakeFiles.h"
#include "Upload/RecordingUploadJob.h"

namespace glimto {

// One file of a track whose content can be used, at least in part.
struct ExaminedPiece {
    SegmentFile file;
    FragmentExtent extent;
    bool isUnfinished = false; // still has its hidden name
    ScannedSegment content;
};

// Notes what the scan has found, and the end that only the fragment tells.
void setContent(ExaminedPiece& piece, const ScannedSegment& content);

struct ExaminedTrack {
    TrackFiles files;
    TrackScan facts; // without segments
    std::vector<ExaminedPiece> pieces; // by index and time
    std::vector<SegmentFile> unusable; // named segments that hold nothing that can be read

    // What to read for the whole track, or from the piece `first` on.
    std::vector<MediaPiece> mediaPieces(std::size_t first = 0) const;

    double start() const; // seconds
    double end() const;

    // The segments as a manifest tells of them: each lasts until the next one begins. Keys and sizes are
    // those that the files have when every torn one is cut back and every index counts from 0.
    std::vector<CapturedSegment> captured() const;
};

// Time without picture or sound, seconds.
struct TakeGap {
    std::string track;
    double from = 0;
    double to = 0;
};

// The codec of all takes that there are.
VideoCodec takeVideoCodec();

enum class TakeState { whole, interrupted, recording, uploaded };

// What lies in a take's directory, read from its segments. Nothing is changed.
struct TakeExamination {
    TakeFiles files;
    TakeState state = TakeState::interrupted;
    ExaminedTrack video;
    std::optional<ExaminedTrack> audio;
    std::optional<MediaManifest> manifest; // when it can be read
    std::optional<RecordingUploadJob> job;
    std::vector<TakeGap> gaps;
    std::vector<std::string> problems; // why the take is not whole, one sentence each

    double duration() const { return video.end() - video.start(); } // seconds
    std::int64_t bytes() const; // of all segments

    // Width and height as the manifest tells them, else as they were encoded, which may be padded.
    std::pair<int, int> pictureSize() const;
};

// Throws CLIError when the directory is no take or holds no picture at all, and PlatformError when files
// cannot be read.
TakeExamination examineTake(const std::filesystem::path& directory);

// "whole", "interrupted", "recording", "uploaded"
const char* takeStateText(TakeState state);

} // namespace glimto
