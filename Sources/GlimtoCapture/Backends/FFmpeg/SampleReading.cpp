#include "Backends/FFmpeg/SampleReading.h"

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace glimto {

namespace {

template <typename Sample> Sample loaded(const std::byte* bytes)
{
    Sample sample;
    std::memcpy(&sample, bytes, sizeof sample);
    return sample;
}

float readInteger16(const std::byte* bytes)
{
    return static_cast<float>(loaded<std::int16_t>(bytes)) * 0x1p-15F;
}

float readInteger24(const std::byte* bytes)
{
    constexpr bool isLittle = std::endian::native == std::endian::little;
    const auto low = std::to_integer<std::uint32_t>(bytes[isLittle ? 0 : 2]);
    const auto middle = std::to_integer<std::uint32_t>(bytes[1]);
    const auto high = std::to_integer<std::uint32_t>(bytes[isLittle ? 2 : 0]);
    // In the upper bytes of a larger integer the sign is in its place.
    const auto wide = static_cast<std::int32_t>(high << 24U | middle << 16U | low << 8U);
    return static_cast<float>(wide) * 0x1p-31F;
}

float readInteger32(const std::byte* bytes)
{
    // What rounds up to full scale stays just below it.
    constexpr float largest = 0x1.fffffep-1F;
    const float sample = static_cast<float>(loaded<std::int32_t>(bytes)) * 0x1p-31F;
    return sample < 1.0F ? sample : largest;
}

template <typename Read>
void readAll(const std::byte* bytes, std::size_t stride, std::span<float> samples, Read read)
{
    for (float& sample : samples) {
        sample = read(bytes);
        bytes += stride;
    }
}

} // namespace

void readChannel(const AudioBuffer& buffer, int channel, std::span<float> samples)
{
    assert(samples.size() >= buffer.frameCount && buffer.dataStatus() == AudioDataStatus::whole);
    const bool isInterleaved = buffer.format.layout == AudioLayout::interleaved;
    const std::size_t size = buffer.format.bytesPerSample();
    const std::size_t stride = isInterleaved ? buffer.format.bytesPerFrame() : size;
    const std::size_t samplesBefore = isInterleaved ? 1 : buffer.frameCount;
    const std::byte* first = buffer.bytes.data() + static_cast<std::size_t>(channel) * samplesBefore * size;
    const auto all = samples.first(buffer.frameCount);
    switch (buffer.format.sampleType) {
    case AudioSampleType::integer16:
        return readAll(first, stride, all, readInteger16);
    case AudioSampleType::integer24:
        return readAll(first, stride, all, readInteger24);
    case AudioSampleType::integer32:
        return readAll(first, stride, all, readInteger32);
    case AudioSampleType::float32:
        return readAll(first, stride, all, loaded<float>);
    }
}

} // namespace glimto
