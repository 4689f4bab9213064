#include "Audio/AudioSourceTrack.h"

#include <cassert>
#include <cmath>
#include <exception>
#include <span>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// Room for what a resampler held back of earlier buffers.
constexpr std::size_t spareFrames = 64;

// What sound of the given format is read as: a single channel stays one, of others two remain. Nothing
// when there is no channel to begin with.
std::optional<AudioFormat> mixFormatFor(const AudioFormat& input, int sampleRate)
{
    if (input.channelCount < 1)
        return std::nullopt;
    return AudioFormat{
        sampleRate, input.channelCount == 1 ? 1 : 2, AudioSampleType::float32, AudioLayout::planar};
}

// Why a conversion failed, as the error that is being handled says.
std::string currentErrorText()
{
    const auto message = singleLine(errorFacts(std::current_exception()).message);
    return message.empty() ? "unknown error" : message;
}

} // namespace

AudioSourceTrack::AudioSourceTrack(AudioMixerSource source, int sampleRate, AudioConverterFactory& converters)
    : name_(audioMixerSourceName(source))
    , sampleRate_(sampleRate)
    , converters_(&converters)
{
}

std::optional<ReadChannels> AudioSourceTrack::read(const AudioBuffer& buffer)
{
    if (inputFormat_ != buffer.format)
        configure(buffer.format);
    if (!canRead_)
        return std::nullopt;
    if (const auto status = buffer.dataStatus(); status != AudioDataStatus::whole) {
        warn("could not read " + name_ + " audio samples (" + std::to_string(static_cast<int>(status)) + ")");
        return std::nullopt;
    }
    if (converter_)
        return readConverted(buffer);
    const std::byte* left = buffer.bytes.data();
    const bool isMono = mixFormat_.channelCount == 1;
    return ReadChannels{left, isMono ? left : left + buffer.frameCount * sizeof(float), buffer.frameCount};
}

// A format that cannot be read is remembered as such: its buffers are dropped until another one comes.
void AudioSourceTrack::configure(const AudioFormat& format)
{
    inputFormat_ = format;
    canRead_ = false;
    converter_.reset();
    const auto mixFormat = mixFormatFor(format, sampleRate_);
    if (!mixFormat) {
        warn("could not create the " + name_ + " mix format");
        return;
    }
    mixFormat_ = *mixFormat;
    if (format != mixFormat_) {
        const auto mapping
            = format.channelCount >= 3 ? ChannelMapping::downmix : ChannelMapping::firstChannels;
        try {
            if (format.isUsable())
                converter_ = converters_->makeConverter(format, mixFormat_, mapping);
        } catch (const std::exception&) {
            converter_.reset(); // Without any converter no format but the mixer's own is supported.
        }
        if (!converter_) {
            warn("unsupported " + name_ + " audio format " + format.description());
            return;
        }
    }
    canRead_ = true;
}

std::optional<ReadChannels> AudioSourceTrack::readConverted(const AudioBuffer& buffer)
{
    std::size_t frameCount = 0;
    try {
        frameCount = convertAll(buffer);
    } catch (const std::exception&) {
        warn(name_ + " audio conversion failed: " + currentErrorText());
        return std::nullopt;
    }
    const auto& right = converted_[mixFormat_.channelCount == 1 ? 0 : 1];
    return ReadChannels{reinterpret_cast<const std::byte*>(converted_[0].data()),
        reinterpret_cast<const std::byte*>(right.data()), frameCount};
}

// The number of frames, which are at the start of `converted_` then.
std::size_t AudioSourceTrack::convertAll(const AudioBuffer& buffer)
{
    const double ratio = static_cast<double>(sampleRate_) / buffer.format.sampleRate;
    const auto capacity
        = static_cast<std::size_t>(std::ceil(ratio * static_cast<double>(buffer.frameCount))) + spareFrames;
    const auto channelCount = static_cast<std::size_t>(mixFormat_.channelCount);
    auto block = planes(0, capacity);
    std::size_t written = converter_->convert(buffer, std::span(block).first(channelCount));
    std::size_t total = written;
    while (written == capacity) {
        block = planes(total, capacity);
        written = converter_->convertRemaining(std::span(block).first(channelCount));
        total += written;
    }
    assert(written < capacity);
    return total;
}

std::array<std::span<float>, 2> AudioSourceTrack::planes(std::size_t first, std::size_t count)
{
    std::array<std::span<float>, 2> result;
    for (std::size_t channel = 0; channel < result.size(); ++channel) {
        auto& samples = converted_[channel];
        if (samples.size() < first + count)
            samples.resize(first + count);
        result[channel] = std::span(samples).subspan(first, count);
    }
    return result;
}

void AudioSourceTrack::warn(const std::string& text)
{
    if (!std::exchange(didWarn_, true))
        warning_ = "warning: " + text;
}

} // namespace glimto
