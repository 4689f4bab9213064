#include "Platform/AudioBuffer.h"

namespace glimto {

namespace {

const char* sampleTypeText(AudioSampleType type)
{
    switch (type) {
    case AudioSampleType::integer16:
        return "16-bit integer";
    case AudioSampleType::integer24:
        return "24-bit integer";
    case AudioSampleType::integer32:
        return "32-bit integer";
    case AudioSampleType::float32:
        break;
    }
    return "32-bit float";
}

} // namespace

AudioFormatStatus AudioFormat::status() const
{
    if (sampleRate < lowestSampleRate || sampleRate > highestSampleRate)
        return AudioFormatStatus::sampleRateOutOfRange;
    if (channelCount < 1 || channelCount > mostChannels)
        return AudioFormatStatus::channelCountOutOfRange;
    return AudioFormatStatus::usable;
}

std::size_t AudioFormat::bytesPerSample() const
{
    switch (sampleType) {
    case AudioSampleType::integer16:
        return 2;
    case AudioSampleType::integer24:
        return 3;
    case AudioSampleType::integer32:
    case AudioSampleType::float32:
        break;
    }
    return 4;
}

std::size_t AudioFormat::bytesPerFrame() const
{
    return bytesPerSample() * static_cast<std::size_t>(channelCount);
}

std::string AudioFormat::description() const
{
    std::string text = std::to_string(channelCount) + (channelCount == 1 ? " channel, " : " channels, ")
        + std::to_string(sampleRate) + " Hz, " + sampleTypeText(sampleType);
    if (channelCount != 1)
        text += layout == AudioLayout::interleaved ? ", interleaved" : ", planar";
    return text;
}

bool operator==(const AudioFormat& a, const AudioFormat& b)
{
    return a.sampleRate == b.sampleRate && a.channelCount == b.channelCount && a.sampleType == b.sampleType
        && (a.layout == b.layout || a.channelCount == 1);
}

AudioDataStatus AudioBuffer::dataStatus() const
{
    // Divided, because the product may be too large for a size.
    const bool isWhole = frameCount <= bytes.size() / format.bytesPerFrame();
    return isWhole ? AudioDataStatus::whole : AudioDataStatus::bytesMissing;
}

} // namespace glimto
