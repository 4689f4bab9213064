#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Backends/FFmpeg/AACEncoder.h"
#include "Backends/MP4/EncodingTask.h"
#include "Backends/MP4/FragmentMuxer.h"
#include "Backends/FFmpeg/SoundQueue.h"
#include "Backends/FFmpeg/SoundSegmentCuts.h"
#include "Platform/AssetWriter.h"
#include "Support/Guarded.h"

namespace glimto {

// AAC in fragmented MP4. Sound is encoded on the queue "glimto.capture.audio-encoder"; once two seconds of it
// wait there, the writer is not ready.
//
// The last second of what was encoded is kept back, so that endSession() can cut off sound that went on after
// the picture had ended; what came out before that stays.
class FFmpegAudioAssetWriter final : public AudioAssetWriter {
public:
    // Null when the encoder refuses the settings. Throws PlatformError.
    static std::unique_ptr<FFmpegAudioAssetWriter> make(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate);

    bool startWriting() override { return task_.start(); }
    bool isReadyForMoreMediaData() const override;
    bool append(const AudioBuffer& buffer) override;
    void fillWithSilence(MediaTime end) override;
    void endSession(MediaTime end) override;
    AssetWriterStatus finishWriting() override
    {
        return task_.finish([this] { finishTrack(); });
    }
    void cancelWriting() override { task_.cancel(); }
    AssetWriterStatus status() const override { return task_.status(); }
    std::string error() const override { return task_.error(); }

private:
    struct State {
        explicit State(SoundQueue queue)
            : sound(std::move(queue))
        {
        }

        SoundQueue sound;
        bool isEncodingPosted = false;
        std::optional<std::int64_t> sessionEnd; // frames
    };

    FFmpegAudioAssetWriter(const AudioEncodingSettings& settings, MediaTime preferredSegmentInterval,
        AssetWriterDelegate& delegate, std::unique_ptr<AACEncoder> encoder);

    void post(const std::function<void(State&)>& change);
    void encodeWaitingSound();
    bool fillBlock();
    void encodeBlock();
    void writeHeldSound(std::int64_t keptFrames);
    void writeSound(const EncodedSound& sound, std::int64_t endTime);
    void endSegment();
    void finishTrack();
    std::int64_t settleEnd();
    void encodeUntil(std::int64_t end);

    const AudioFormat format_;
    Guarded<State> state_;

    // What follows is used on the encoder's queue only.
    std::unique_ptr<AACEncoder> encoder_;
    FragmentMuxer muxer_;
    SoundSegmentCuts cuts_;
    std::vector<float> block_; // the encoder's next
    std::size_t blockFrames_ = 0; // filled so far
    std::deque<EncodedSound> held_; // oldest first
    std::int64_t segmentStart_ = 0;
    std::int64_t writtenEnd_ = 0; // what was given to the container ends here

    EncodingTask task_; // last: what its steps use outlives it
};

} // namespace glimto
