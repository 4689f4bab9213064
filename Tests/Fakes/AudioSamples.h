#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "Platform/AudioBuffer.h"

namespace glimto {

// Where a sample stands in a buffer of the given format.
inline std::size_t sampleOffset(
    const AudioFormat& format, std::size_t frameCount, std::size_t channel, std::size_t frame)
{
    const auto channels = static_cast<std::size_t>(format.channelCount);
    const std::size_t index = format.layout == AudioLayout::interleaved ? frame * channels + channel
                                                                        : channel * frameCount + frame;
    return index * format.bytesPerSample();
}

// One sample as a float; integers of full scale are -1 to just below 1.
inline float sampleIn(const AudioBuffer& buffer, std::size_t channel, std::size_t frame)
{
    const std::byte* bytes
        = buffer.bytes.data() + sampleOffset(buffer.format, buffer.frameCount, channel, frame);
    if (buffer.format.sampleType == AudioSampleType::float32) {
        float sample = 0;
        std::memcpy(&sample, bytes, sizeof sample);
        return sample;
    }
    // An integer in the upper bytes of a larger one keeps its sign and its part of full scale.
    const std::size_t size = buffer.format.bytesPerSample();
    std::uint32_t bits = 0;
    for (std::size_t byte = 0; byte < size; ++byte)
        bits |= std::to_integer<std::uint32_t>(bytes[byte]) << (8 * (4 - size + byte));
    return std::ldexp(static_cast<float>(static_cast<std::int32_t>(bits)), -31);
}

// Samples in memory of their own, in any format; little-endian.
class AudioSamples {
public:
    // `channels[c][k]` is frame k of channel c.
    AudioSamples(const AudioFormat& format, const std::vector<std::vector<float>>& channels)
        : format_(format)
        , frameCount_(channels.front().size())
        , bytes_(frameCount_ * channels.size() * format.bytesPerSample())
    {
        for (std::size_t channel = 0; channel < channels.size(); ++channel) {
            for (std::size_t frame = 0; frame < frameCount_; ++frame)
                store(channels[channel][frame], sampleOffset(format, frameCount_, channel, frame));
        }
    }

    // All frames alike; one value a channel.
    AudioSamples(const AudioFormat& format, std::size_t frameCount, const std::vector<float>& values)
        : AudioSamples(format, constantChannels(frameCount, values))
    {
    }

    AudioBuffer buffer() const { return {format_, frameCount_, {}, bytes_, true}; }

private:
    static std::vector<std::vector<float>> constantChannels(
        std::size_t frameCount, const std::vector<float>& values)
    {
        std::vector<std::vector<float>> channels;
        for (const float value : values)
            channels.emplace_back(frameCount, value);
        return channels;
    }

    void store(float sample, std::size_t offset)
    {
        if (format_.sampleType == AudioSampleType::float32) {
            std::memcpy(bytes_.data() + offset, &sample, sizeof sample);
            return;
        }
        const std::size_t size = format_.bytesPerSample();
        const auto bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(std::ldexp(sample, 31)));
        for (std::size_t byte = 0; byte < size; ++byte)
            bytes_[offset + byte] = static_cast<std::byte>(bits >> (8 * (4 - size + byte)));
    }

    AudioFormat format_;
    std::size_t frameCount_;
    std::vector<std::byte> bytes_;
};

} // namespace glimto
