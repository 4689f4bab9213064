// How many seconds of sound the mixer gets through in a second: two stereo sources at 48000 Hz in buffers of
// 10 ms, in the mixer's own format, which needs no converter.

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "Audio/AudioMixer.h"

namespace glimto {
namespace {

constexpr int sampleRate = 48000;
constexpr std::size_t framesPerBuffer = 480;
constexpr std::array sources{AudioMixerSource::system, AudioMixerSource::microphone};

class NoConverters final : public AudioConverterFactory {
public:
    std::unique_ptr<AudioConverter> makeConverter(
        const AudioFormat&, const AudioFormat&, ChannelMapping) override
    {
        return nullptr;
    }
};

class NoLines final : public LineOutput {
public:
    void writeLine(std::string_view) override { }
    void writeDocument(std::string_view) override { }
};

// One buffer of noise that fills half of the range.
std::vector<std::byte> noise()
{
    std::vector<float> samples(2 * framesPerBuffer);
    std::uint32_t state = 1;
    for (float& sample : samples) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<float>(state >> 8) / 16777216.0F - 0.5F;
    }
    std::vector<std::byte> bytes(samples.size() * sizeof(float));
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}

// The first `state.range(0)` of two sources deliver.
void mix(benchmark::State& state)
{
    NoConverters converters;
    NoLines standardOutput;
    std::size_t framesOut = 0;
    AudioMixer mixer(
        sources, sampleRate,
        [&](const AudioBuffer& buffer) {
            benchmark::DoNotOptimize(buffer.bytes.data());
            framesOut += buffer.frameCount;
        },
        converters, standardOutput);
    const auto bytes = noise();
    const AudioFormat format{sampleRate, 2, AudioSampleType::float32, AudioLayout::planar};
    const AudioBuffer buffer{format, framesPerBuffer, {}, bytes, true};
    const auto delivering = static_cast<std::size_t>(state.range(0));
    std::int64_t start = 0;
    for (auto _ : state) {
        for (std::size_t source = 0; source < delivering; ++source)
            mixer.append(buffer, sources[source], {start, sampleRate});
        start += framesPerBuffer;
    }
    if (framesOut == 0 && start > sampleRate)
        state.SkipWithError("nothing was mixed");
    state.counters["xRealTime"]
        = benchmark::Counter(static_cast<double>(framesOut) / sampleRate, benchmark::Counter::kIsRate);
}

BENCHMARK(mix)->ArgName("delivering")->Arg(2)->Arg(1);

} // namespace
} // namespace glimto

BENCHMARK_MAIN();
