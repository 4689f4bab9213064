#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/VideoEncoder.h"

namespace glimto {

// What became of a fake encoder; outlives it.
struct FakeVideoEncoderState {
    struct Call {
        std::string what; // "encode", "repeat" or "refine"
        VideoTime time{0};
        PictureKind kind = PictureKind::predicted;

        friend bool operator==(const Call&, const Call&) = default;
    };

    bool refusesSettings = false;
    int refinements = 0; // that are still to come while the picture stands still
    bool isLate = false; // a picture waits for the next one; every other one is decoded after the next
    std::vector<Call> calls;
    std::vector<const FramePicture*> pictures; // that were given to encode
};

// An encoder of a format of its own: each picture becomes the text "picture <number>;".
class FakeVideoEncoder final : public VideoEncoder {
public:
    FakeVideoEncoder(const VideoEncodingSettings& settings, std::shared_ptr<FakeVideoEncoderState> state)
        : description_{.format = "mp4v",
            .decoderConfiguration = {'C', 'O', 'N', 'F', 'I', 'G'},
            .width = settings.width,
            .height = settings.height}
        , state_(std::move(state))
    {
    }

    const VideoCodec& codec() const override { return codec_; }
    const VideoSampleDescription& sampleDescription() const override { return description_; }

    std::vector<EncodedPicture> encode(const FramePicture& picture,
        std::span<const PixelRect> /*changedRects*/, VideoTime time, PictureKind kind) override
    {
        state_->pictures.push_back(&picture);
        return made("encode", time, kind);
    }

    std::vector<EncodedPicture> repeat(VideoTime time, PictureKind kind) override
    {
        return made("repeat", time, kind);
    }

    std::optional<std::vector<EncodedPicture>> refine(VideoTime time) override
    {
        if (state_->refinements == 0)
            return std::nullopt;
        --state_->refinements;
        return made("refine", time, PictureKind::predicted);
    }

    std::vector<EncodedPicture> finish() override { return std::exchange(waiting_, {}); }

private:
    std::vector<EncodedPicture> made(const char* what, VideoTime time, PictureKind kind)
    {
        const std::string text = "picture " + std::to_string(state_->calls.size()) + ";";
        state_->calls.push_back({what, time, kind});
        const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
        EncodedPicture picture = {.data = {bytes.begin(), bytes.end()},
            .time = time,
            .decodeTime = time,
            .isKeyframe = kind == PictureKind::keyframe};
        if (!state_->isLate)
            return {std::move(picture)};
        return late(std::move(picture));
    }

    // Keyframe 0 and pictures 1, 2, 3, 4 come out as 0, 2, 1, 4, 3; those before a keyframe in their order.
    std::vector<EncodedPicture> late(EncodedPicture picture)
    {
        if (waiting_.empty() || picture.isKeyframe || waiting_.back().isKeyframe) {
            auto pictures = std::exchange(waiting_, {});
            if (!pictures.empty())
                lastDecodeTime_ = pictures.back().decodeTime;
            waiting_.push_back(std::move(picture));
            return pictures;
        }
        EncodedPicture between = std::move(waiting_.back());
        waiting_.clear();
        picture.decodeTime = (lastDecodeTime_ + between.decodeTime) / 2;
        lastDecodeTime_ = between.decodeTime;
        return {std::move(picture), std::move(between)};
    }

    const VideoCodec codec_ = {.name = "another", .playlistCodec = "mp4v.20.9"};
    const VideoSampleDescription description_;
    std::vector<EncodedPicture> waiting_;
    VideoTime lastDecodeTime_{0};
    const std::shared_ptr<FakeVideoEncoderState> state_; // shared with the test
};

class FakeVideoEncoderFactory final : public VideoEncoderFactory {
public:
    std::unique_ptr<VideoEncoder> makeEncoder(const VideoEncodingSettings& settings) override
    {
        if (state->refusesSettings)
            return nullptr;
        return std::make_unique<FakeVideoEncoder>(settings, state);
    }

    const std::shared_ptr<FakeVideoEncoderState> state = std::make_shared<FakeVideoEncoderState>();
};

} // namespace glimto
