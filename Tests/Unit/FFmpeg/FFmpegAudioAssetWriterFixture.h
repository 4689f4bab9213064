#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <numeric>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"
#include "Unit/FFmpeg/DecodedMedia.h"
#include "Fakes/SegmentCollector.h"

namespace glimto {

class FFmpegAudioAssetWriterFixture : public testing::Test {
protected:
    static constexpr int sampleRate = 48000;
    static constexpr std::int64_t framesPerBlock = 1024;
    static constexpr AudioFormat format = {sampleRate, 2, AudioSampleType::float32, AudioLayout::interleaved};

    void makeWriter(double segmentSeconds = 1)
    {
        writer_ = FFmpegAudioAssetWriter::make(
            {sampleRate, 2, 128'000}, MediaTime::fromSeconds(segmentSeconds, 600), collector_);
        ASSERT_TRUE(writer_);
    }

    void startWriter(double segmentSeconds = 1)
    {
        makeWriter(segmentSeconds);
        ASSERT_TRUE(writer_->startWriting());
    }

    static MediaTime at(std::int64_t frame) { return {frame, sampleRate}; }

    static std::vector<float> silence(std::int64_t frameCount)
    {
        return std::vector<float>(static_cast<std::size_t>(frameCount) * 2);
    }

    // A tone of 997 Hz on the left, 1499 Hz on the right, whose phase counts from frame zero of the track.
    static float tone(std::int64_t frame, std::size_t channel)
    {
        const double frequency = channel == 0 ? 997 : 1499;
        return static_cast<float>(
            0.5 * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(frame) / sampleRate));
    }

    static std::vector<float> tones(std::int64_t start, std::int64_t frameCount)
    {
        auto samples = silence(frameCount);
        for (std::size_t index = 0; index < samples.size(); ++index)
            samples[index] = tone(start + static_cast<std::int64_t>(index / 2), index % 2);
        return samples;
    }

    static void addClick(std::vector<float>& samples, std::int64_t frame)
    {
        for (std::int64_t distance = -3; distance <= 3; ++distance) {
            const float level = 0.8F * (1 - static_cast<float>(std::abs(distance)) / 4);
            samples[static_cast<std::size_t>(frame + distance) * 2] = level;
            samples[static_cast<std::size_t>(frame + distance) * 2 + 1] = level;
        }
    }

    // Views the samples.
    static AudioBuffer buffer(std::int64_t start, const std::vector<float>& samples)
    {
        return {format, samples.size() / 2, at(start), std::as_bytes(std::span(samples)), true};
    }

    void waitUntilReady() const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!writer_->isReadyForMoreMediaData() && writer_->status() == AssetWriterStatus::writing
            && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
    }

    // In buffers of some ten milliseconds.
    void append(std::int64_t start, const std::vector<float>& samples)
    {
        constexpr std::size_t samplesPerBuffer = 2 * 501;
        for (std::size_t from = 0; from < samples.size(); from += samplesPerBuffer) {
            const auto part
                = std::span(samples).subspan(from, std::min(samplesPerBuffer, samples.size() - from));
            waitUntilReady();
            ASSERT_TRUE(writer_->append({format, part.size() / 2,
                at(start + static_cast<std::int64_t>(from / 2)), std::as_bytes(part), true}));
        }
    }

    DecodedSound finishAndDecode()
    {
        EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed) << writer_->error();
        return decodeSound(collector_.playable(collector_.segments));
    }

    std::int64_t trackLength() const
    {
        return std::accumulate(collector_.segments.begin(), collector_.segments.end(), std::int64_t{0},
            [](std::int64_t sum, const auto& segment) { return sum + segment.report.duration->value; });
    }

    // The frame of the largest sample in a stretch of a channel.
    static std::int64_t loudestFrame(
        const std::vector<float>& samples, std::int64_t first, std::int64_t frameCount)
    {
        const auto begin = samples.begin() + first;
        const auto loudest = std::max_element(
            begin, begin + frameCount, [](float a, float b) { return std::abs(a) < std::abs(b); });
        return loudest - samples.begin();
    }

    static float peak(const std::vector<float>& samples, std::int64_t first, std::int64_t frameCount)
    {
        return std::abs(samples[static_cast<std::size_t>(loudestFrame(samples, first, frameCount))]);
    }

    // The largest root mean square of the difference from the tones, over the length of a block. The
    // encoder leaves less than 0.02; one sample dropped or doubled is 0.058 from there on.
    static double worstToneError(const DecodedSound& sound, std::int64_t first, std::int64_t end)
    {
        double worst = 0;
        for (std::int64_t block = first; block + framesPerBlock <= end; block += framesPerBlock) {
            double sum = 0;
            for (std::int64_t frame = block; frame < block + framesPerBlock; ++frame) {
                for (std::size_t channel = 0; channel < 2; ++channel) {
                    const float sample = sound.channels[channel][static_cast<std::size_t>(frame)];
                    sum += std::pow(sample - tone(frame, channel), 2);
                }
            }
            worst = std::max(worst, std::sqrt(sum / (2 * framesPerBlock)));
        }
        return worst;
    }

    static constexpr double toneTolerance = 0.03;

    SegmentCollector collector_;
    std::unique_ptr<FFmpegAudioAssetWriter> writer_;
};

} // namespace glimto
