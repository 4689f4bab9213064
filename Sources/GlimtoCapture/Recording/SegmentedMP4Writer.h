#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "Artifacts/CapturedSegment.h"
#include "Artifacts/OutputPlan.h"
#include "Platform/AssetWriter.h"
#include "Recording/SegmentFileQueue.h"
#include "Recording/SegmentTrack.h"
#include "Support/LineOutput.h"
#include "Support/SerialQueue.h"

namespace glimto {

// The first frame's time as the stream gave it, and the same in nanoseconds of the host clock.
struct VideoSamplePtsAnchor {
    std::int64_t value = 0;
    std::int32_t timescale = 0;
    std::int64_t hostTimeNs = 0;

    friend bool operator==(const VideoSamplePtsAnchor&, const VideoSamplePtsAnchor&) = default;
};

// Turns live frames into fragmented MP4 files for HLS (RFC 8216 section 3.3) in the take's segment
// directories, while the recording runs.
//
// The first frame starts the timeline: its time becomes zero. A frame that the encoder has no room for
// is dropped and counted, never queued. All operations may be called from any thread; none of them
// holds a lock while pictures are encoded or files are written.
class SegmentedMP4Writer {
public:
    struct Settings {
        int width = 0; // pixels
        int height = 0;
        int framesPerSecond = 0;
        double segmentSeconds = 0; // preferred segment length, greater than 0
    };

    // Throws CLIError when the encoder refuses the settings, and what the factory throws. The factory
    // and `standardError` outlive the writer.
    SegmentedMP4Writer(const OutputPlan& plan, const Settings& settings, AssetWriterFactory& factory,
        LineOutput& standardError);
    ~SegmentedMP4Writer();

    // Frames without a picture, and frames after finish() or cancel(), are ignored. Never throws for a
    // frame that cannot be written: it is counted.
    void appendVideoFrame(const VideoFrame& frame);

    // Completes the last segment and waits until all files are on the disk. Call it once. Throws
    // CLIError when the take holds no whole recording, and the first failure to write a file; prints a
    // warning when samples were dropped.
    CapturedTracks finish();

    // Stops at once. The segments that are complete stay, the one that is not leaves no file. Does
    // nothing after finish() has completed. May be called while finish() hangs in another thread.
    void cancel();

    // Why nothing more can come of this recording: the first file that could not be written, or the
    // encoder's own failure. Null while all is well. Cheap enough to ask several times a second.
    std::exception_ptr failure();

    // Absent before the first frame.
    std::optional<VideoSamplePtsAnchor> firstVideoSamplePtsAnchor();

    // "segments/video/init.mp4" once that file is on the disk.
    std::optional<std::string> initializationSegmentKey();

private:
    enum class Lifecycle { initialized, writing, finishing, completed, cancelled };

    // State of `writerQueue_`; what reaches the disk is the track's.
    struct State {
        Lifecycle lifecycle = Lifecycle::initialized;
        std::optional<MediaTime> sessionStartTime;
        std::optional<VideoSamplePtsAnchor> firstSample;
        std::int64_t appendFailures = 0;
        std::int64_t appendedFrames = 0;
        std::exception_ptr encoderFailure;
    };

    void appendOnQueue(const VideoFrame& frame);
    bool startSession(MediaTime firstTime);
    void noteEncoderFailure();
    State stateNow();
    void requireCompleted(AssetWriterStatus status);
    void requireWholeTake(const State& state);

    LineOutput& standardError_;

    // Declared in this order because each is used by the next until that is destroyed.
    SegmentFileQueue files_;
    SegmentTrack videoTrack_;
    std::unique_ptr<VideoAssetWriter> videoWriter_;

    State state_;
    SerialQueue writerQueue_;
};

} // namespace glimto
