#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Fakes/AudioSamples.h"
#include "Platform/AudioConverter.h"
#include "Support/Errors.h"

namespace glimto {

// How fake converters behave; may change while they are used.
struct FakeAudioConverterBehavior {
    bool fails = false; // conversions throw `failureText`
    std::string failureText = "the fake cannot convert this";
    std::size_t framesBeforeFirstOutput = 0; // until so many wait, none comes out
};

// Repeats or drops frames to reach the rate. Downmix is the mean of all channels.
class FakeAudioConverter final : public AudioConverter {
public:
    FakeAudioConverter(const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping,
        const FakeAudioConverterBehavior& behavior)
        : input_(input)
        , output_(output)
        , mapping_(mapping)
        , behavior_(behavior)
        , waiting_(static_cast<std::size_t>(output.channelCount))
    {
    }

    std::size_t convert(const AudioBuffer& input, std::span<const std::span<float>> planes) override
    {
        if (behavior_.fails)
            throw PlatformError("Fake", 7, behavior_.failureText);
        for (std::size_t frame = 0; frame < input.frameCount; ++frame) {
            ++framesTaken_;
            for (; framesMade_ * input_.sampleRate < framesTaken_ * output_.sampleRate; ++framesMade_) {
                for (std::size_t channel = 0; channel < waiting_.size(); ++channel)
                    waiting_[channel].push_back(mapped(input, channel, frame));
            }
        }
        hasBegun_ = hasBegun_ || waiting_.front().size() >= behavior_.framesBeforeFirstOutput;
        return convertRemaining(planes);
    }

    std::size_t convertRemaining(std::span<const std::span<float>> planes) override
    {
        const std::size_t count = hasBegun_ ? std::min(waiting_.front().size(), planes.front().size()) : 0;
        for (std::size_t channel = 0; channel < waiting_.size(); ++channel) {
            auto& samples = waiting_[channel];
            const auto end = samples.begin() + static_cast<std::ptrdiff_t>(count);
            std::copy(samples.begin(), end, planes[channel].begin());
            samples.erase(samples.begin(), end);
        }
        return count;
    }

private:
    float mapped(const AudioBuffer& input, std::size_t channel, std::size_t frame) const
    {
        const auto inputChannels = static_cast<std::size_t>(input_.channelCount);
        if (mapping_ == ChannelMapping::firstChannels)
            return sampleIn(input, std::min(channel, inputChannels - 1), frame);
        float sum = 0;
        for (std::size_t each = 0; each < inputChannels; ++each)
            sum += sampleIn(input, each, frame);
        return sum / static_cast<float>(inputChannels);
    }

    AudioFormat input_;
    AudioFormat output_;
    ChannelMapping mapping_;
    const FakeAudioConverterBehavior& behavior_;
    std::int64_t framesTaken_ = 0;
    std::int64_t framesMade_ = 0;
    bool hasBegun_ = false;
    std::vector<std::vector<float>> waiting_; // a channel each
};

// Outlives its converters.
class FakeAudioConverterFactory final : public AudioConverterFactory {
public:
    struct Request {
        AudioFormat input;
        AudioFormat output;
        ChannelMapping mapping = ChannelMapping::firstChannels;
    };

    std::unique_ptr<AudioConverter> makeConverter(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping) override
    {
        requests.push_back({input, output, mapping});
        if (isMissing)
            throw PlatformError("Fake", 8, "there is no converter");
        if (refusedType == input.sampleType)
            return nullptr;
        return std::make_unique<FakeAudioConverter>(input, output, mapping, behavior);
    }

    std::optional<AudioSampleType> refusedType; // cannot be converted
    bool isMissing = false;
    FakeAudioConverterBehavior behavior;
    std::vector<Request> requests;
};

} // namespace glimto
