#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Backends/MP4/EncodingTask.h"
#include "Backends/MP4/FragmentMuxer.h"
#include "Backends/MP4/SegmentBoundaries.h"
#include "Platform/AssetWriter.h"

namespace glimto {

// Fragmented MP4 of whatever a video encoder makes. Frames are encoded on the queue "glimto.capture.encoder";
// at most three are held at a time, one being encoded and two waiting.
//
// A frame that changes nothing is not encoded: the one before lasts longer. Only while that one is coarse (a
// scene has just come to rest) is it encoded again, finer.
class MP4VideoAssetWriter final : public VideoAssetWriter {
public:
    // Null when the encoder refuses the settings. Throws PlatformError.
    static std::unique_ptr<MP4VideoAssetWriter> make(VideoEncoderFactory& encoders,
        const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval,
        AssetWriterDelegate& delegate);

    VideoCodec codec() const override { return codec_; }

    bool startWriting() override { return task_.start(); }
    bool isReadyForMoreMediaData() const override;
    bool append(const VideoFrame& frame) override;
    AssetWriterStatus finishWriting() override
    {
        return task_.finish([this] { finishTrack(); });
    }
    void cancelWriting() override { task_.cancel(); }
    AssetWriterStatus status() const override { return task_.status(); }
    std::string error() const override { return task_.error(); }

private:
    MP4VideoAssetWriter(const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval,
        AssetWriterDelegate& delegate, std::unique_ptr<VideoEncoder> encoder);

    void encodeFrame(const VideoFrame& frame);
    void repeatOnBoundariesBefore(VideoTime time);
    void refine(VideoTime time);
    PictureKind begin(VideoTime time);
    void take(std::vector<EncodedPicture> pictures);
    void take(EncodedPicture picture);
    void writeHeldPicture(VideoTime endTime);
    void endSegment(VideoTime endTime);
    void finishTrack();

    const VideoEncodingSettings settings_;
    const VideoCodec codec_;
    const VideoTime frameDuration_;
    std::atomic<int> framesHeld_ = 0;
    VideoTime lastAppendedTime_{-1}; // used by the appending thread only

    // What follows is used on the encoder's queue only.
    std::unique_ptr<VideoEncoder> encoder_;
    FragmentMuxer muxer_;
    SegmentBoundaries boundaries_;
    std::optional<EncodedPicture> held_; // written once the time of the next one tells its duration
    VideoTime segmentStart_{0};
    std::deque<VideoTime> nextSegmentStarts_; // of keyframes that the encoder has not given back yet
    std::optional<VideoTime> lastGivenTime_; // of the encoder's last picture
    VideoTime lastTime_{0}; // of the last frame, whether it changed anything or not
    std::optional<std::uint64_t> lastSequenceNumber_;

    EncodingTask task_; // last: what its steps use outlives it
};

} // namespace glimto
