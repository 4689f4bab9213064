#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

#include <algorithm>
#include <array>
#include <cassert>
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
#include "Backends/FFmpeg/SampleReading.h"
#include "Platform/AudioConverter.h"
#include "Support/Errors.h"
#include "Support/Owned.h"

namespace glimto {

namespace {

constexpr const char* makingFailed = "Could not make the resampler";
constexpr const char* resamplingFailed = "Could not resample";

using Planes = std::array<std::uint8_t*, AudioFormat::mostChannels>;

using ResamplerHandle = Owned<SwrContext, swr_free>;

// For the given rates and number of channels. Null when libswresample refuses.
ResamplerHandle makeResampler(int inputRate, int outputRate, int channelCount)
{
    AVChannelLayout layout = {};
    // The order of channels does not matter: none is mixed with another here.
    layout.order = AV_CHANNEL_ORDER_UNSPEC;
    layout.nb_channels = channelCount;
    SwrContext* context = nullptr;
    requireFFmpeg(swr_alloc_set_opts2(&context, &layout, AV_SAMPLE_FMT_FLTP, outputRate, &layout,
                      AV_SAMPLE_FMT_FLTP, inputRate, 0, nullptr),
        makingFailed);
    ResamplerHandle resampler(context);
    return swr_init(context) == 0 ? std::move(resampler) : nullptr;
}

// Takes `inputCount` frames, if any, and writes what there is from frame `first` of the planes on. Returns
// the number of frames written.
std::size_t resample(SwrContext* resampler, const Planes& input, std::size_t inputCount,
    std::span<const std::span<float>> planes, std::size_t first)
{
    Planes output = {};
    for (std::size_t channel = 0; channel < planes.size(); ++channel)
        output[channel] = reinterpret_cast<std::uint8_t*>(planes[channel].data() + first);
    auto inputPlanes = std::array<const std::uint8_t*, AudioFormat::mostChannels>();
    std::copy(input.begin(), input.end(), inputPlanes.begin());
    const int written = swr_convert(resampler, output.data(), static_cast<int>(planes.front().size() - first),
        inputPlanes.data(), static_cast<int>(inputCount));
    return static_cast<std::size_t>(requireFFmpeg(written, resamplingFailed));
}

// Reads any format itself, and resamples with libswresample where the rates differ. The filter looks ahead:
// until it has seen some 16 input frames more (more when the rate goes down), output waits; but what stands
// at input frame n comes out at output frame n times the ratio of the rates. Allocates only for a buffer
// that is larger than all before it.
class SwresampleAudioConverter final : public AudioConverter {
public:
    // Null when it cannot be converted. Throws PlatformError when there is no memory.
    static std::unique_ptr<SwresampleAudioConverter> make(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
    {
        const bool isPlanarFloat = output.sampleType == AudioSampleType::float32
            && (output.layout == AudioLayout::planar || output.channelCount == 1);
        if (!input.isUsable() || !output.isUsable() || !isPlanarFloat)
            return nullptr;
        ResamplerHandle resampler;
        if (input.sampleRate != output.sampleRate) {
            resampler = makeResampler(input.sampleRate, output.sampleRate, output.channelCount);
            if (!resampler)
                return nullptr;
        }
        return std::unique_ptr<SwresampleAudioConverter>(
            new SwresampleAudioConverter(input, output, mapping, std::move(resampler)));
    }

    ~SwresampleAudioConverter() override = default;

    std::size_t convert(const AudioBuffer& input, std::span<const std::span<float>> planes) override
    {
        if (input.format != input_ || input.dataStatus() != AudioDataStatus::whole)
            throw PlatformError(
                "FFmpeg", AVERROR(EINVAL), "The sound has another format than the converter.");
        mapChannels(input);
        return convertRemaining(planes);
    }

    std::size_t convertRemaining(std::span<const std::span<float>> planes) override
    {
        assert(planes.size() == mapped_.size());
        return resampler_ ? resampleWaiting(planes) : copyWaiting(planes);
    }

private:
    SwresampleAudioConverter(const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping,
        ResamplerHandle resampler)
        : input_(input)
        , weights_(input.channelCount, output.channelCount, mapping)
        , resampler_(std::move(resampler))
        , mapped_(static_cast<std::size_t>(output.channelCount))
    {
    }

    // Moves on what waits, so that the oldest of it stands at the start of `mapped_`, and adds the input.
    void mapChannels(const AudioBuffer& input)
    {
        const std::size_t waiting = mappedEnd_ - mappedFirst_;
        if (channel_.size() < input.frameCount)
            channel_.resize(input.frameCount);
        for (auto& samples : mapped_) {
            const auto begin = samples.begin();
            std::copy(begin + static_cast<std::ptrdiff_t>(mappedFirst_),
                begin + static_cast<std::ptrdiff_t>(mappedEnd_), begin);
            if (samples.size() < waiting + input.frameCount)
                samples.resize(waiting + input.frameCount);
            std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(waiting), input.frameCount, 0.0F);
        }
        mappedFirst_ = 0;
        mappedEnd_ = waiting + input.frameCount;
        for (int channel = 0; channel < input_.channelCount; ++channel) {
            readChannel(input, channel, channel_);
            for (std::size_t output = 0; output < mapped_.size(); ++output) {
                const float weight = weights_.weight(channel, static_cast<int>(output));
                float* sum = mapped_[output].data() + waiting;
                for (std::size_t frame = 0; weight != 0 && frame < input.frameCount; ++frame)
                    sum[frame] += weight * channel_[frame];
            }
        }
    }

    std::size_t copyWaiting(std::span<const std::span<float>> planes)
    {
        const std::size_t count = std::min(mappedEnd_ - mappedFirst_, planes.front().size());
        for (std::size_t channel = 0; channel < mapped_.size(); ++channel)
            std::copy_n(mapped_[channel].begin() + static_cast<std::ptrdiff_t>(mappedFirst_), count,
                planes[channel].begin());
        mappedFirst_ += count;
        return count;
    }

    // The resampler takes all that waits, and keeps what it has no room for.
    std::size_t resampleWaiting(std::span<const std::span<float>> planes)
    {
        Planes input = {};
        for (std::size_t channel = 0; channel < mapped_.size(); ++channel)
            input[channel] = reinterpret_cast<std::uint8_t*>(mapped_[channel].data());
        std::size_t inputCount = std::exchange(mappedEnd_, 0);
        std::size_t total = 0;
        std::size_t written = 0;
        do {
            written = resample(resampler_.get(), input, inputCount, planes, total);
            inputCount = 0;
            total += written;
        } while (written > 0 && total < planes.front().size());
        return total;
    }

    AudioFormat input_;
    ChannelWeights weights_;
    ResamplerHandle resampler_; // null when the rates are equal
    std::vector<float> channel_; // one of the input
    std::vector<std::vector<float>> mapped_; // the output's channels at the input's rate
    std::size_t mappedFirst_ = 0; // frames before it have gone out
    std::size_t mappedEnd_ = 0;
};

} // namespace

std::unique_ptr<AudioConverter> SwresampleAudioConverterFactory::makeConverter(
    const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
{
    return SwresampleAudioConverter::make(input, output, mapping);
}

} // namespace glimto
