#include "Backends/MP4/MovieFragment.h"

#include <algorithm>
#include <cassert>
#include <numeric>

#include "Backends/MP4/BoxWriter.h"
#include "Backends/MP4/InitializationSegment.h"

namespace glimto {

namespace {

// Section 8.8.3.1: whether others are needed to decode it, and whether decoding can start with it.
constexpr std::uint32_t needsOthers = 0x0101'0000;
constexpr std::uint32_t needsNone = 0x0200'0000;

std::uint32_t sampleFlags(const FragmentSample& sample)
{
    return sample.isKeyframe ? needsNone : needsOthers;
}

template <typename Field> bool areAlike(std::span<const FragmentSample> samples, Field field)
{
    return std::all_of(samples.begin(), samples.end(),
        [&](const FragmentSample& sample) { return field(sample) == field(samples.front()); });
}

// What a fragment's header says of all samples that its run says nothing else of (section 8.8.7).
void writeDefaults(BoxWriter& writer, std::span<const FragmentSample> samples)
{
    constexpr std::uint32_t offsetsCountFromFragment = 0x02'0000;
    constexpr std::uint32_t hasDuration = 0x08;
    constexpr std::uint32_t hasSize = 0x10;
    constexpr std::uint32_t hasFlags = 0x20;
    const auto header = writer.box("tfhd");
    writer.versionAndFlags(0, offsetsCountFromFragment | hasDuration | hasSize | hasFlags);
    writer.number32(onlyTrack);
    writer.number32(samples.front().duration);
    writer.number32(samples.front().size);
    writer.number32(sampleFlags(samples.back()));
}

// Section 8.8.8. Returns where the offset of the data belongs.
std::size_t writeRun(BoxWriter& writer, std::span<const FragmentSample> samples)
{
    const bool hasDurations
        = !areAlike(samples, [](const FragmentSample& sample) { return sample.duration; });
    const bool hasSizes = !areAlike(samples, [](const FragmentSample& sample) { return sample.size; });
    const bool hasFlags = !areAlike(samples.subspan(1), sampleFlags);
    const bool hasFirstFlags = !hasFlags && sampleFlags(samples.front()) != sampleFlags(samples.back());
    const bool hasDelays = std::any_of(
        samples.begin(), samples.end(), [](const FragmentSample& sample) { return sample.delay != 0; });
    const auto run = writer.box("trun");
    writer.versionAndFlags(0,
        0x1U | (hasFirstFlags ? 0x4U : 0U) | (hasDurations ? 0x100U : 0U) | (hasSizes ? 0x200U : 0U)
            | (hasFlags ? 0x400U : 0U) | (hasDelays ? 0x800U : 0U));
    writer.number32(static_cast<std::uint32_t>(samples.size()));
    const std::size_t dataOffset = writer.position();
    writer.number32(0);
    if (hasFirstFlags)
        writer.number32(sampleFlags(samples.front()));
    for (const FragmentSample& sample : samples) {
        if (hasDurations)
            writer.number32(sample.duration);
        if (hasSizes)
            writer.number32(sample.size);
        if (hasFlags)
            writer.number32(sampleFlags(sample));
        if (hasDelays)
            writer.number32(sample.delay);
    }
    return dataOffset;
}

// Section 8.8.12. Of 64 bits: at 90,000 ticks a second, 32 are full after half a day.
void writeDecodeTime(BoxWriter& writer, std::int64_t decodeTime)
{
    const auto time = writer.box("tfdt");
    writer.versionAndFlags(1, 0);
    writer.number64(static_cast<std::uint64_t>(decodeTime));
}

std::size_t writeTrackFragment(
    BoxWriter& writer, std::int64_t decodeTime, std::span<const FragmentSample> samples)
{
    const auto fragment = writer.box("traf");
    writeDefaults(writer, samples);
    writeDecodeTime(writer, decodeTime);
    return writeRun(writer, samples);
}

std::uint32_t dataSize(std::span<const FragmentSample> samples)
{
    return std::accumulate(samples.begin(), samples.end(), std::uint32_t{0},
        [](std::uint32_t sum, const FragmentSample& sample) { return sum + sample.size; });
}

} // namespace

void writeFragmentHead(std::vector<std::byte>& output, std::uint32_t sequenceNumber, std::int64_t decodeTime,
    std::span<const FragmentSample> samples)
{
    constexpr std::uint32_t boxHeadBytes = 8;
    assert(!samples.empty());
    BoxWriter writer(output);
    const std::size_t start = writer.position();
    std::size_t dataOffset = 0;
    {
        const auto fragment = writer.box("moof");
        {
            const auto header = writer.box("mfhd");
            writer.versionAndFlags(0, 0);
            writer.number32(sequenceNumber);
        }
        dataOffset = writeTrackFragment(writer, decodeTime, samples);
    }
    writer.setNumber32(dataOffset, static_cast<std::uint32_t>(writer.position() - start) + boxHeadBytes);
    writer.number32(boxHeadBytes + dataSize(samples));
    writer.text("mdat");
}

} // namespace glimto
