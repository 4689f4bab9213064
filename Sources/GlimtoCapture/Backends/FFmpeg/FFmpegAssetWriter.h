#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Backends/FFmpeg/EncodingTask.h"
#include "Backends/FFmpeg/FragmentMuxer.h"
#include "Backends/FFmpeg/I420Picture.h"
#include "Backends/FFmpeg/RateController.h"
#include "Backends/FFmpeg/SegmentBoundaries.h"
#include "Backends/FFmpeg/X264Encoder.h"
#include "Platform/AssetWriter.h"

namespace glimto {

// H.264 in fragmented MP4. Frames are encoded on the queue "glimto.capture.encoder"; at most two are
// held at a time, one being encoded and one waiting.
//
// A frame that changes nothing is not encoded: the one before lasts longer. Only while that one was
// encoded coarsely (a scene has just come to rest) is it encoded again, finer.
class FFmpegAssetWriter final : public VideoAssetWriter {
public:
    // Null when the encoder refuses the settings. Throws PlatformError.
    static std::unique_ptr<FFmpegAssetWriter> make(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate);

    bool startWriting() override;
    bool isReadyForMoreMediaData() const override;
    bool append(const VideoFrame& frame) override;
    AssetWriterStatus finishWriting() override;
    void cancelWriting() override;
    AssetWriterStatus status() const override;
    std::string error() const override;

private:
    FFmpegAssetWriter(const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval,
        AssetWriterDelegate& delegate, std::unique_ptr<X264Encoder> encoder);

    void encodeFrame(const VideoFrame& frame);
    void repeatOnBoundariesBefore(std::int64_t time);
    void refineOrHold(std::int64_t time, bool startsSegment);
    void encodePicture(std::int64_t time, bool startsSegment, std::optional<int> quantizer = std::nullopt);
    void writeHeldPicture(std::int64_t endTime);
    void endSegment(std::int64_t endTime);
    void finishTrack();

    const VideoEncodingSettings settings_;
    const std::int64_t frameTicks_;
    std::atomic<int> framesHeld_ = 0;
    std::int64_t lastAppendedTime_ = -1; // used by the appending thread only

    // What follows is used on the encoder's queue only.
    std::unique_ptr<X264Encoder> encoder_;
    I420Picture picture_;
    FragmentMuxer muxer_;
    SegmentBoundaries boundaries_;
    RateController rate_;
    std::optional<EncodedPicture> held_; // written once the time of the next one tells its duration
    int heldQuantizer_ = 0;
    std::int64_t segmentStart_ = 0;
    std::int64_t lastTime_ = 0;
    std::optional<std::uint64_t> lastSequenceNumber_;

    EncodingTask task_; // last: what its steps use outlives it
};

} // namespace glimto
