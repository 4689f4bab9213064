#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "Platform/AudioBuffer.h"
#include "Platform/MediaTime.h"
#include "Platform/VideoEncoder.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// The numbers are part of messages.
enum class AssetWriterStatus : int { unknown = 0, writing = 1, completed = 2, failed = 3, cancelled = 4 };

// AAC-LC (ISO/IEC 14496-3).
struct AudioEncodingSettings {
    int sampleRate = 0; // Hz
    int channelCount = 0;
    std::int64_t averageBitRate = 0; // bits a second
};

// What a finished media segment holds.
struct SegmentReport {
    std::optional<MediaTime> duration; // absent when the backend cannot tell
    std::optional<MediaTime> earliestPresentationTime;
};

// Receives the output of an asset writer: fragmented MP4 (ISO/IEC 14496-12) for HLS (RFC 8216
// section 3.3). Called on a thread of the writer, one call at a time; must not block for long and
// must not throw.
class AssetWriterDelegate {
public:
    virtual ~AssetWriterDelegate() = default;

    // The initialization segment ("ftyp" and "moov"), whole, once, before all media.
    virtual void didOutputInitializationSegment(std::span<const std::byte> data) = 0;

    // The next piece of the current media segment: one or more whole "moof" and "mdat" pairs.
    virtual void didOutputSegmentData(std::span<const std::byte> data) = 0;

    // The current media segment is complete. It starts with a keyframe, as the next one will.
    virtual void didFinishSegment(const SegmentReport& report) = 0;
};

// Encodes one track in real time and cuts it into media segments.
//
// All operations but cancelWriting() are called from one thread at a time. The delegate outlives the writer.
class AssetWriter {
public:
    virtual ~AssetWriter() = default;

    // Starts writing; the media timeline begins at time zero. False when the encoder cannot start;
    // `error()` then says why.
    virtual bool startWriting() = 0;

    // Whether append() would take something now. Never blocks.
    virtual bool isReadyForMoreMediaData() const = 0;

    // Encodes what was appended, ends the last segment and waits until all output was delivered.
    virtual AssetWriterStatus finishWriting() = 0;

    // Stops at once and delivers nothing more. Any thread; any number of times.
    virtual void cancelWriting() = 0;

    virtual AssetWriterStatus status() const = 0;

    // Why the status is `failed`; empty otherwise.
    virtual std::string error() const = 0;
};

// Each segment starts with a keyframe at the first frame at or after a multiple of the preferred interval.
// Where the picture stands still across such a boundary, the picture before it is repeated exactly there.
// The last frame lasts no longer than one frame interval, so the track's end follows the last frame's time.
class VideoAssetWriter : public AssetWriter {
public:
    // How the track is encoded; the same all the time.
    virtual VideoCodec codec() const = 0;

    // Takes a frame whose time is on the media timeline; encoding happens later on the writer's
    // thread. Never blocks. False when the frame was refused: not ready, not writing, without pixels,
    // or not later than the frame before.
    virtual bool append(const VideoFrame& frame) = 0;
};

// The track is one unbroken stretch of sound from time zero on: where nothing was appended it is silent.
// Segments are cut at the end of the encoder's frame that is nearest to a multiple of the preferred interval.
// Decoded sound lies where it was appended: the encoder's delay is taken out.
class AudioAssetWriter : public AssetWriter {
public:
    // Takes sound at the settings' rate and channel count, interleaved 32-bit float, whose time is on the
    // media timeline; copies it, encodes later on the writer's thread. Never blocks. False when it was
    // refused: not ready, not writing, or of another format. What begins before the end of the sound
    // before loses the overlap; less than a millisecond of either is taken as continuous.
    virtual bool append(const AudioBuffer& buffer) = 0;

    // Makes the track reach `end` with silence; does nothing when it already does. Never blocks.
    virtual void fillWithSilence(MediaTime end) = 0;

    // Where the track ends, before finishWriting(): shorter sound is filled with silence, longer sound cut
    // off. Without it the track ends where the sound does.
    virtual void endSession(MediaTime end) = 0;
};

class VideoAssetWriterFactory {
public:
    virtual ~VideoAssetWriterFactory() = default;

    // A writer for video with the given preferred segment interval (greater than 0). Null when the
    // encoder refuses these settings. Throws PlatformError when there is no encoder at all.
    virtual std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
        = 0;
};

class AudioAssetWriterFactory {
public:
    virtual ~AudioAssetWriterFactory() = default;

    // The same for audio.
    virtual std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
        = 0;
};

} // namespace glimto
