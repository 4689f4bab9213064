#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Audio/AudioMixer.h"
#include "Fakes/AudioSamples.h"
#include "Fakes/FakeAudioConverter.h"
#include "Fakes/FakeLineOutput.h"

namespace glimto {

constexpr auto systemSource = AudioMixerSource::system;
constexpr auto microphoneSource = AudioMixerSource::microphone;

struct StereoFrame {
    float left = 0;
    float right = 0;
    friend bool operator==(const StereoFrame&, const StereoFrame&) = default;
};

// Keeps what a mixer hands on.
struct MixedTrack {
    struct Piece {
        std::int64_t startFrame = 0;
        std::size_t frameCount = 0;
        friend bool operator==(const Piece&, const Piece&) = default;
    };

    std::vector<AudioBuffer> buffers; // their bytes are no longer valid
    std::vector<Piece> pieces;
    std::vector<std::pair<std::int64_t, StereoFrame>> frames;

    void take(const AudioBuffer& buffer)
    {
        buffers.push_back(buffer);
        pieces.push_back({buffer.presentationTime.value, buffer.frameCount});
        for (std::size_t frame = 0; frame < buffer.frameCount; ++frame) {
            frames.push_back({buffer.presentationTime.value + static_cast<std::int64_t>(frame),
                {sampleIn(buffer, 0, frame), sampleIn(buffer, 1, frame)}});
        }
    }

    std::int64_t endFrame() const { return frames.empty() ? -1 : frames.back().first + 1; }

    // Runs of equal frames without a break in time: {first frame, number of frames, left, right}.
    struct Stretch {
        std::int64_t startFrame = 0;
        std::int64_t frameCount = 0;
        StereoFrame value;
        friend bool operator==(const Stretch&, const Stretch&) = default;
        friend void PrintTo(const Stretch& stretch, std::ostream* out)
        {
            *out << "{" << stretch.startFrame << ", " << stretch.frameCount << ", {" << stretch.value.left
                 << ", " << stretch.value.right << "}}";
        }
    };
    std::vector<Stretch> stretches() const
    {
        std::vector<Stretch> result;
        for (const auto& [frame, value] : frames) {
            const bool continues = !result.empty() && result.back().value == value
                && result.back().startFrame + result.back().frameCount == frame;
            if (continues)
                ++result.back().frameCount;
            else
                result.push_back({frame, 1, value});
        }
        return result;
    }
};

// Mixers at 48000 Hz: 10 ms are 480 frames, 200 ms are 9600.
class AudioMixerFixture : public testing::Test {
protected:
    using Pieces = std::vector<MixedTrack::Piece>;
    using Stretches = std::vector<MixedTrack::Stretch>;

    static constexpr AudioFormat stereo{48000, 2, AudioSampleType::float32, AudioLayout::planar};
    static constexpr AudioFormat mono{48000, 1, AudioSampleType::float32, AudioLayout::planar};

    std::unique_ptr<AudioMixer> makeMixer(
        const std::vector<AudioMixerSource>& sources, int sampleRate = 48000)
    {
        return std::make_unique<AudioMixer>(
            sources, sampleRate, [this](const AudioBuffer& buffer) { track.take(buffer); }, converters,
            standardOutput);
    }

    // Sound in stereo, the same on both sides.
    static void append(AudioMixer& mixer, AudioMixerSource source, std::int64_t startFrame,
        std::size_t frameCount, float value)
    {
        mixer.append(AudioSamples(stereo, frameCount, {value, value}).buffer(), source, {startFrame, 48000});
    }

    FakeAudioConverterFactory converters;
    FakeLineOutput standardOutput;
    MixedTrack track;
};

} // namespace glimto
