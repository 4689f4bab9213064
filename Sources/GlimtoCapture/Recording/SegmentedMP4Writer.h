#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "Artifacts/CapturedSegment.h"
#include "Artifacts/OutputPlan.h"
#include "Platform/AssetWriter.h"
#include "Platform/Service.h"
#include "Progress/RecordingFigures.h"
#include "Recording/SegmentFileQueue.h"
#include "Recording/SegmentTrack.h"
#include "Support/LineOutput.h"
#include "Support/SerialQueue.h"

namespace glimto {

// Turns live frames and sound into fragmented MP4 files for HLS (RFC 8216 section 3.3) in the take's
// segment directories, while the recording runs: one track of segments for video and, if wanted, one for
// audio.
//
// The first frame starts the timeline: its time becomes zero, and sound from before it is left out. Where
// no sound comes the audio track is silent, and it ends where the video does. A frame or piece of sound that
// the encoder has no room for is dropped and counted, never queued. All operations may be called from any
// thread; none of them holds a lock while anything is encoded or files are written.
class SegmentedMP4Writer {
public:
    struct Settings {
        int width = 0; // pixels
        int height = 0;
        int framesPerSecond = 0;
        Seconds segmentSeconds{0}; // preferred segment length, greater than 0
        bool includeAudio = false;
        int audioSampleRate = 0; // Hz
        int audioChannelCount = 0;
        std::shared_ptr<RecordingFigures> figures
            = std::make_shared<RecordingFigures>(); // shared with who shows them
    };

    // So far the audio track may fall behind the video before the missing sound is taken as silence, so that
    // its segments keep coming when its source is dead.
    static constexpr std::chrono::seconds longestAudioLag = std::chrono::seconds(10);

    // What a take without any frame fails with.
    static constexpr const char* noFramesMessage
        = "No screen frames were captured. Check Screen Recording permission and try moving the cursor "
          "during the capture.";

    // Throws CLIError when an encoder refuses the settings, and what the factories throw; that for audio is
    // asked for only with an audio track. The factory for video and `standardError` outlive the writer.
    SegmentedMP4Writer(const OutputPlan& plan, const Settings& settings,
        VideoAssetWriterFactory& videoWriters, const Service<AudioAssetWriterFactory>& audioWriters,
        LineOutput& standardError);
    ~SegmentedMP4Writer();

    // Frames without a picture, and frames after finish() or cancel(), are ignored. Never throws for a
    // frame that cannot be written: it is counted.
    void appendVideoFrame(const VideoFrame& frame);

    // Takes sound at the settings' rate and channel count, whose time is on the clock of the frames. Ignored
    // without an audio track, before the first frame, after finish() or cancel(), and when the buffer is not
    // ready or begins at no valid time or before the first frame. Never throws for sound that cannot be
    // written: the buffer is counted.
    void appendAudioSampleBuffer(const AudioBuffer& buffer);

    // Completes the last segments and waits until all files are on the disk. Call it once. Throws
    // CLIError when the take holds no whole recording, and the first failure to write a file; prints a
    // warning when samples were dropped.
    CapturedTracks finish();

    // Stops at once. The segments that are complete stay, the one that is not leaves no file. Does
    // nothing after finish() has completed. May be called while finish() hangs in another thread.
    void cancel();

    // Why nothing more can come of this recording: the first file that could not be written, or the
    // encoder's own failure. Null while all is well. Cheap enough to ask several times a second.
    std::exception_ptr failure();

    // The first frame's time as the stream gave it, on the host clock. Absent before that frame.
    std::optional<MediaTime> firstVideoSamplePtsAnchor();

    // "segments/video/init.mp4" and "segments/audio/init.mp4" once these files are on the disk.
    std::optional<std::string> initializationSegmentKey();
    std::optional<std::string> audioInitializationSegmentKey();

private:
    enum class Lifecycle { initialized, writing, finishing, completed, cancelled };

    // State of `writerQueue_`; what reaches the disk is the track's.
    struct State {
        Lifecycle lifecycle = Lifecycle::initialized;
        std::optional<MediaTime> sessionStartTime;
        std::optional<MediaTime> firstSample; // its time, also when no writer could be started
        std::int64_t appendFailures = 0;
        std::int64_t appendedFrames = 0;
        std::int64_t appendedAudioSamples = 0; // of one channel
        std::chrono::nanoseconds audioEnd{0}; // on the media timeline: what lies before was taken care of
        std::exception_ptr encoderFailure;
    };

    void appendVideoOnQueue(const VideoFrame& frame);
    void appendAudioOnQueue(const AudioBuffer& buffer);
    void noteDropped();
    void fillAudioLag(std::chrono::nanoseconds videoTime);
    bool startSession(MediaTime firstTime);
    bool startWriter(AssetWriter& writer, const char* track);
    void noteEncoderFailure(const AssetWriter& writer, const char* track);
    State stateNow();
    void finishTracks();
    void requireCompleted(AssetWriter& writer, const char* track);
    void requireWholeTake(const State& state);

    LineOutput& standardError_;
    std::shared_ptr<RecordingFigures> figures_;

    // Declared in this order because each is used by the next until that is destroyed.
    SegmentFileQueue files_;
    SegmentTrack videoTrack_;
    SegmentTrack audioTrack_; // stays empty without an audio writer
    std::unique_ptr<VideoAssetWriter> videoWriter_;
    std::unique_ptr<AudioAssetWriter> audioWriter_; // null without audio

    State state_;
    SerialQueue writerQueue_; // has no thread: whoever asks or appends does so on its own
};

} // namespace glimto
