// What it costs to convert and encode sound: CPU seconds a minute of 48000 Hz stereo, and how much memory
// grows meanwhile.
//
//     glimto-sound-benchmark [minutes]     10 if not given

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <span>
#include <thread>
#include <vector>

#include <sys/resource.h>

#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

namespace glimto {
namespace {

constexpr int sampleRate = 48000;
constexpr std::size_t framesPerBuffer = 480;

class CountingDelegate final : public AssetWriterDelegate {
public:
    void didOutputInitializationSegment(std::span<const std::byte>) override { }
    void didOutputSegmentData(std::span<const std::byte> data) override { bytes += data.size(); }
    void didFinishSegment(const SegmentReport& report) override { seconds += report.duration->seconds(); }

    std::size_t bytes = 0;
    double seconds = 0;
};

double cpuSeconds()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double peakMegabytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// Ten seconds of decaying chords and a little noise, in stereo.
std::vector<float> music()
{
    std::vector<float> samples(std::size_t{10} * sampleRate * 2);
    std::uint32_t random = 1;
    for (std::size_t index = 0; index < samples.size(); ++index) {
        const double time = static_cast<double>(index / 2) / sampleRate;
        const double base = index % 2 == 0 ? 220 : 277.2;
        double sum = 0;
        for (int harmonic = 1; harmonic < 12; ++harmonic)
            sum += std::sin(2 * std::numbers::pi * base * harmonic * time) / harmonic;
        random = random * 1664525 + 1013904223;
        const double noise = static_cast<double>(random >> 8U) / 16777216.0 - 0.5;
        samples[index] = static_cast<float>(0.3 * std::exp(-4 * std::fmod(time, 0.5)) * sum + 0.02 * noise);
    }
    return samples;
}

bool encode(const std::vector<float>& samples, int minutes)
{
    CountingDelegate delegate;
    const auto writer = FFmpegAudioAssetWriter::make({sampleRate, 2, 128'000}, {4, 1}, delegate);
    if (!writer || !writer->startWriting())
        return false;
    const AudioFormat format = {sampleRate, 2, AudioSampleType::float32, AudioLayout::interleaved};
    const std::int64_t end = std::int64_t{60} * minutes * sampleRate;
    const double before = cpuSeconds();
    double peakAfterAMinute = 0;
    for (std::int64_t frame = 0; frame < end; frame += framesPerBuffer) {
        while (!writer->isReadyForMoreMediaData())
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        const auto first = static_cast<std::size_t>(frame) * 2 % samples.size();
        const auto part = std::span(samples).subspan(first, framesPerBuffer * 2);
        writer->append({format, framesPerBuffer, {frame, sampleRate}, std::as_bytes(part), true});
        if (frame == std::int64_t{60} * sampleRate)
            peakAfterAMinute = peakMegabytes();
    }
    if (writer->finishWriting() != AssetWriterStatus::completed || delegate.seconds != 60.0 * minutes)
        return false;
    std::printf(
        "AAC: %.3f CPU s a minute, %.0f kbit/s, memory %.1f MB, %.1f MB of it after the first minute\n",
        (cpuSeconds() - before) / minutes, static_cast<double>(delegate.bytes) * 8 / (60e3 * minutes),
        peakMegabytes(), minutes > 1 ? peakMegabytes() - peakAfterAMinute : 0.0);
    return true;
}

bool convert(const char* name, const AudioFormat& input)
{
    const AudioFormat output = {sampleRate, 2, AudioSampleType::float32, AudioLayout::planar};
    const auto converter
        = SwresampleAudioConverterFactory().makeConverter(input, output, ChannelMapping::firstChannels);
    if (!converter)
        return false;
    const auto frameCount = static_cast<std::size_t>(input.sampleRate / 100);
    std::vector<std::byte> bytes(frameCount * input.bytesPerFrame());
    std::uint32_t random = 1;
    for (std::byte& byte : bytes) {
        random = random * 1664525 + 1013904223;
        byte = static_cast<std::byte>(random >> 24U);
    }
    std::array<std::vector<float>, 2> block = {std::vector<float>(1024), std::vector<float>(1024)};
    const std::array<std::span<float>, 2> planes = {block[0], block[1]};
    const double before = cpuSeconds();
    std::size_t framesOut = 0;
    for (int buffer = 0; buffer < 6000; ++buffer)
        framesOut += converter->convert({input, frameCount, {}, bytes, true}, planes);
    std::printf("%s: %.3f CPU s a minute\n", name, cpuSeconds() - before);
    return framesOut > std::size_t{59} * sampleRate;
}

int run(int minutes)
{
    const bool isWell = encode(music(), minutes)
        && convert(
            "16-bit stereo, 48000 Hz", {48000, 2, AudioSampleType::integer16, AudioLayout::interleaved})
        && convert(
            "16-bit stereo, 44100 Hz", {44100, 2, AudioSampleType::integer16, AudioLayout::interleaved})
        && convert("24-bit mono, 96000 Hz", {96000, 1, AudioSampleType::integer24, AudioLayout::interleaved});
    if (!isWell)
        std::fputs("error: what came out is not what went in\n", stderr);
    return isWell ? 0 : 1;
}

} // namespace
} // namespace glimto

int main(int argumentCount, char** arguments)
{
    return glimto::run(argumentCount > 1 ? std::max(std::atoi(arguments[1]), 1) : 10);
}
