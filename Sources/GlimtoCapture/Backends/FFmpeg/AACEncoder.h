#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <vector>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "Platform/AssetWriter.h"

namespace glimto {

struct EncodedSound {
    std::vector<std::byte> data;
    std::int64_t time = 0; // of its first decoded frame, in frames of the sound given
};

// AAC-LC by libavcodec. One thread at a time.
class AACEncoder {
public:
    // Sound goes in and comes out of a decoder in blocks of this many frames.
    static constexpr std::int64_t framesPerBlock = 1024;

    // Null when the encoder refuses the settings. Throws PlatformError when there is no encoder.
    static std::unique_ptr<AACEncoder> make(const AudioEncodingSettings& settings);

    // AudioSpecificConfig (ISO/IEC 14496-3).
    std::span<const std::uint8_t> decoderConfiguration() const
    {
        return {codec_->extradata, static_cast<std::size_t>(codec_->extradata_size)};
    }

    // Encodes the next block, interleaved, which begins where the last one ended. What comes out belongs to
    // an earlier block: a block and the one after it must have been seen before it can be encoded. The very
    // first output has a negative time: it is what a decoder needs to have seen before time zero. Samples
    // beyond full scale are clipped, what is no number is silent, and what is not silent gets noise 62 dB
    // below its block's peak. Throws PlatformError.
    std::optional<EncodedSound> encode(std::span<const float> block);

private:
    AACEncoder() = default;
    bool open(const AudioEncodingSettings& settings);
    void makeFrame();
    void fillFrame(std::span<const float> block);
    void addNoise(std::span<float> samples, float level);

    CodecContextHandle codec_;
    FrameHandle frame_;
    PacketHandle packet_;
    std::int64_t nextTime_ = 0;
    std::minstd_rand noise_;
};

} // namespace glimto
