#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "Backends/FFmpeg/ChannelWeights.h"
#include "Platform/AudioConverter.h"

namespace glimto {

// Reads any format itself, and resamples with libswresample where the rates differ. The filter looks ahead:
// until it has seen some 16 input frames more (more when the rate goes down), output waits; but what stands
// at input frame n comes out at output frame n times the ratio of the rates. Allocates only for a buffer
// that is larger than all before it.
class SwresampleAudioConverter final : public AudioConverter {
public:
    // Null when it cannot be converted. Throws PlatformError when there is no memory.
    static std::unique_ptr<SwresampleAudioConverter> make(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping);
    ~SwresampleAudioConverter() override;

    std::size_t convert(const AudioBuffer& input, std::span<const std::span<float>> planes) override;
    std::size_t convertRemaining(std::span<const std::span<float>> planes) override;

private:
    // A resampler for the given rates and number of channels; null when the rates are equal.
    class Resampler;

    SwresampleAudioConverter(const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping,
        std::unique_ptr<Resampler> resampler);

    void mapChannels(const AudioBuffer& input);
    std::size_t copyWaiting(std::span<const std::span<float>> planes);
    std::size_t resampleWaiting(std::span<const std::span<float>> planes);

    AudioFormat input_;
    ChannelWeights weights_;
    std::unique_ptr<Resampler> resampler_;
    std::vector<float> channel_; // one of the input
    std::vector<std::vector<float>> mapped_; // the output's channels at the input's rate
    std::size_t mappedFirst_ = 0; // frames before it have gone out
    std::size_t mappedEnd_ = 0;
};

} // namespace glimto
