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
        std::int64_t time = 0;
        PictureKind kind = PictureKind::predicted;

        friend bool operator==(const Call&, const Call&) = default;
    };

    bool refusesSettings = false;
    int refinements = 0; // that are still to come while the picture stands still
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

    EncodedPicture encode(const FramePicture& picture, std::span<const PixelRect> /*changedRects*/,
        std::int64_t time, PictureKind kind) override
    {
        state_->pictures.push_back(&picture);
        return made("encode", time, kind);
    }

    EncodedPicture repeat(std::int64_t time, PictureKind kind) override { return made("repeat", time, kind); }

    std::optional<EncodedPicture> refine(std::int64_t time) override
    {
        if (state_->refinements == 0)
            return std::nullopt;
        --state_->refinements;
        return made("refine", time, PictureKind::predicted);
    }

private:
    EncodedPicture made(const char* what, std::int64_t time, PictureKind kind)
    {
        const std::string text = "picture " + std::to_string(state_->calls.size()) + ";";
        state_->calls.push_back({what, time, kind});
        const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
        return {
            .data = {bytes.begin(), bytes.end()}, .time = time, .isKeyframe = kind == PictureKind::keyframe};
    }

    const VideoCodec codec_ = {.name = "another", .playlistCodec = "mp4v.20.9"};
    const VideoSampleDescription description_;
    const std::shared_ptr<FakeVideoEncoderState> state_; // shared with the test
};

class FakeVideoEncoderFactory final : public VideoEncoderFactory {
public:
    std::unique_ptr<VideoEncoder> makeEncoder(
        const VideoEncodingSettings& settings, std::int32_t /*timescale*/) override
    {
        if (state->refusesSettings)
            return nullptr;
        return std::make_unique<FakeVideoEncoder>(settings, state);
    }

    const std::shared_ptr<FakeVideoEncoderState> state = std::make_shared<FakeVideoEncoderState>();
};

} // namespace glimto
