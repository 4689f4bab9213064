#include "Backends/PulseAudio/FractionalResampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace glimto {

namespace {

constexpr std::size_t phases = 256;
constexpr double windowShape = 8;
// Enough is kept behind the reading position for positions to go back a little.
constexpr std::int64_t spareFrames = 4;
// Frames that are no longer needed are cleared away when there are so many, in one go.
constexpr std::size_t mostForgotten = 4096;

double sinc(double x)
{
    const double angle = std::numbers::pi * x;
    return std::abs(angle) < 1e-9 ? 1 : std::sin(angle) / angle;
}

// Row p holds the weights of the `length` frames around a position p / phases behind a frame; one row more
// than there are phases, for what lies between the last one and the next frame.
std::vector<float> weights(std::size_t length)
{
    const auto half = static_cast<double>(length) / 2;
    std::vector<float> table((phases + 1) * length);
    for (std::size_t phase = 0; phase <= phases; ++phase) {
        std::vector<double> row(length);
        double sum = 0;
        for (std::size_t tap = 0; tap < length; ++tap) {
            const double distance = static_cast<double>(tap) - (half - 1)
                - static_cast<double>(phase) / static_cast<double>(phases);
            const double place = std::clamp(distance / half, -1.0, 1.0);
            row[tap] = sinc(distance) * std::cyl_bessel_i(0.0, windowShape * std::sqrt(1 - place * place));
            sum += row[tap];
        }
        for (std::size_t tap = 0; tap < length; ++tap)
            table[phase * length + tap] = static_cast<float>(row[tap] / sum);
    }
    return table;
}

template <std::size_t count> float weightedSum(const float* frames, const std::array<float, count>& weight)
{
    // Lanes that do not wait for each other.
    std::array<float, 8> lanes{};
    for (std::size_t tap = 0; tap < count; tap += lanes.size())
        for (std::size_t lane = 0; lane < lanes.size(); ++lane)
            lanes[lane] += frames[tap + lane] * weight[tap + lane];
    return ((lanes[0] + lanes[4]) + (lanes[1] + lanes[5])) + ((lanes[2] + lanes[6]) + (lanes[3] + lanes[7]));
}

} // namespace

FractionalResampler::FractionalResampler(int channelCount)
    : channels_(static_cast<std::size_t>(channelCount), std::vector<float>(halfLength, 0.0F))
    , table_(weights(length))
{
}

void FractionalResampler::append(std::span<const float> samples)
{
    const std::size_t count = channels_.size();
    const std::size_t frames = samples.size() / count;
    for (std::size_t channel = 0; channel < count; ++channel) {
        auto& kept = channels_[channel];
        const std::size_t before = kept.size();
        kept.resize(before + frames);
        for (std::size_t frame = 0; frame < frames; ++frame)
            kept[before + frame] = samples[frame * count + channel];
    }
    end_ += static_cast<std::int64_t>(frames);
}

void FractionalResampler::appendSilence(std::size_t frameCount)
{
    for (auto& kept : channels_)
        kept.resize(kept.size() + frameCount, 0.0F);
    end_ += static_cast<std::int64_t>(frameCount);
}

void FractionalResampler::read(
    double position, double step, std::size_t frameCount, std::vector<float>& output)
{
    const std::size_t count = channels_.size();
    std::size_t at = output.size();
    output.resize(at + frameCount * count);
    for (std::size_t frame = 0; frame < frameCount; ++frame) {
        const double place = position + step * static_cast<double>(frame);
        const double whole = std::floor(place);
        const double row = (place - whole) * static_cast<double>(phases);
        const auto phase = std::min(static_cast<std::size_t>(row), phases - 1);
        const auto between = static_cast<float>(row - static_cast<double>(phase));
        const float* const first = table_.data() + phase * length;
        std::array<float, length> weight;
        for (std::size_t tap = 0; tap < length; ++tap)
            weight[tap] = first[tap] + between * (first[length + tap] - first[tap]);
        const auto start = static_cast<std::int64_t>(whole) - (halfLength - 1) - begin_;
        const auto offset = static_cast<std::size_t>(std::max<std::int64_t>(0, start));
        for (const auto& kept : channels_)
            output[at++] = weightedSum(kept.data() + offset, weight);
    }
    const double next = position + step * static_cast<double>(frameCount);
    forgetBefore(static_cast<std::int64_t>(std::floor(next)) - halfLength - spareFrames);
}

void FractionalResampler::forgetBefore(std::int64_t frame)
{
    const std::int64_t kept = static_cast<std::int64_t>(channels_.front().size());
    const std::int64_t count = std::min(frame - begin_, kept);
    if (count < static_cast<std::int64_t>(mostForgotten))
        return;
    for (auto& channel : channels_)
        channel.erase(channel.begin(), channel.begin() + static_cast<std::ptrdiff_t>(count));
    begin_ += count;
}

} // namespace glimto
