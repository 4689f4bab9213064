#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include "Backends/FFmpeg/ChannelWeights.h"
#include "Backends/FFmpeg/FFmpegErrors.h"
#include "Platform/AudioConverter.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace glimto {

namespace {

constexpr const char* makingFailed = "Could not make the resampler";
constexpr const char* resamplingFailed = "Could not resample";

template <typename Byte> using Planes = std::array<Byte*, AudioFormat::mostChannels>;

using ResamplerHandle = Owned<SwrContext, swr_free>;

AVSampleFormat sampleFormat(const AudioFormat& format)
{
    const bool isPlanar = format.layout == AudioLayout::planar;
    switch (format.sampleType) {
    case AudioSampleType::integer16:
        return isPlanar ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_S16;
    case AudioSampleType::integer24:
    case AudioSampleType::integer32:
        return isPlanar ? AV_SAMPLE_FMT_S32P : AV_SAMPLE_FMT_S32;
    case AudioSampleType::float32:
        break;
    }
    return isPlanar ? AV_SAMPLE_FMT_FLTP : AV_SAMPLE_FMT_FLT;
}

AVChannelLayout channelLayout(int channelCount)
{
    AVChannelLayout layout = {};
    layout.order = AV_CHANNEL_ORDER_UNSPEC; // the weights say which is mixed with which
    layout.nb_channels = channelCount;
    return layout;
}

// Null when libswresample refuses.
ResamplerHandle makeResampler(const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
{
    AVChannelLayout inputLayout = channelLayout(input.channelCount);
    AVChannelLayout outputLayout = channelLayout(output.channelCount);
    SwrContext* context = nullptr;
    requireFFmpeg(swr_alloc_set_opts2(&context, &outputLayout, AV_SAMPLE_FMT_FLTP, output.sampleRate,
                      &inputLayout, sampleFormat(input), input.sampleRate, 0, nullptr),
        makingFailed);
    ResamplerHandle resampler(context);
    if (input.channelCount != output.channelCount) {
        std::vector<double> matrix;
        for (int to = 0; to < output.channelCount; ++to) {
            for (int from = 0; from < input.channelCount; ++from)
                matrix.push_back(channelWeight(from, input.channelCount, to, output.channelCount, mapping));
        }
        requireFFmpeg(swr_set_matrix(context, matrix.data(), input.channelCount), makingFailed);
    }
    return swr_init(context) == 0 ? std::move(resampler) : nullptr;
}

// An integer of 24 or 32 bits with so many that a float holds it exactly: rounded up, the largest would
// become 1.
template <std::size_t size> std::int32_t exactInteger(const std::byte* bytes)
{
    constexpr bool isLittle = std::endian::native == std::endian::little;
    constexpr std::uint32_t exact = ~std::uint32_t{0x7F};
    std::uint32_t value = 0;
    // In the upper bytes of a larger integer the sign is in its place.
    for (std::size_t index = 0; index < size; ++index) {
        const std::byte byte = bytes[isLittle ? index : size - 1 - index];
        value |= std::to_integer<std::uint32_t>(byte) << 8 * (sizeof(value) - size + index);
    }
    return static_cast<std::int32_t>(value & exact);
}

// When the rate changes the filter looks ahead: until it has seen some 16 input frames more (more when the
// rate goes down), output waits; but what stands at input frame n comes out at output frame n times the ratio
// of the rates. Allocates only for a buffer that is larger than all before it.
class SwresampleAudioConverter final : public AudioConverter {
public:
    SwresampleAudioConverter(const AudioFormat& input, ResamplerHandle resampler)
        : input_(input)
        , resampler_(std::move(resampler))
    {
    }

    std::size_t convert(const AudioBuffer& input, std::span<const std::span<float>> planes) override
    {
        if (input.format != input_ || input.dataStatus() != AudioDataStatus::whole)
            throw PlatformError(
                errorDomain::ffmpeg, AVERROR(EINVAL), "The sound has another format than the converter.");
        const std::byte* bytes = input.bytes.data();
        std::size_t sampleSize = input_.bytesPerSample();
        if (sampleSize > 2 && input_.sampleType != AudioSampleType::float32) {
            const std::size_t count = input.frameCount * static_cast<std::size_t>(input_.channelCount);
            sampleSize == 3 ? widen<3>(bytes, count) : widen<4>(bytes, count);
            bytes = reinterpret_cast<const std::byte*>(widened_.data());
            sampleSize = sizeof(std::int32_t);
        }
        Planes<const std::uint8_t> from = {};
        for (std::size_t channel = 0; channel < static_cast<std::size_t>(input_.channelCount); ++channel)
            from[channel]
                = reinterpret_cast<const std::uint8_t*>(bytes + channel * input.frameCount * sampleSize);
        return resample(from, input.frameCount, planes);
    }

    std::size_t convertRemaining(std::span<const std::span<float>> planes) override
    {
        return resample({}, 0, planes);
    }

private:
    template <std::size_t sampleSize> void widen(const std::byte* bytes, std::size_t count)
    {
        if (widened_.size() < count)
            widened_.resize(count);
        for (std::size_t index = 0; index < count; ++index, bytes += sampleSize)
            widened_[index] = exactInteger<sampleSize>(bytes);
    }

    // The library takes all of the input, and keeps what there is no room for.
    std::size_t resample(
        Planes<const std::uint8_t> input, std::size_t inputCount, std::span<const std::span<float>> planes)
    {
        std::size_t total = 0;
        std::size_t written = 0;
        do {
            Planes<std::uint8_t> output = {};
            for (std::size_t channel = 0; channel < planes.size(); ++channel)
                output[channel] = reinterpret_cast<std::uint8_t*>(planes[channel].data() + total);
            written = static_cast<std::size_t>(requireFFmpeg(
                swr_convert(resampler_.get(), output.data(), static_cast<int>(planes.front().size() - total),
                    input.data(), static_cast<int>(std::exchange(inputCount, 0))),
                resamplingFailed));
            total += written;
        } while (written > 0 && total < planes.front().size());
        return total;
    }

    const AudioFormat input_;
    const ResamplerHandle resampler_;
    std::vector<std::int32_t> widened_; // what the library does not read as it comes
};

} // namespace

std::unique_ptr<AudioConverter> SwresampleAudioConverterFactory::makeConverter(
    const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
{
    const bool isPlanarFloat = output.sampleType == AudioSampleType::float32
        && (output.layout == AudioLayout::planar || output.channelCount == 1);
    if (!input.isUsable() || !output.isUsable() || !isPlanarFloat)
        return nullptr;
    auto resampler = makeResampler(input, output, mapping);
    if (!resampler)
        return nullptr;
    return std::make_unique<SwresampleAudioConverter>(input, std::move(resampler));
}

} // namespace glimto
