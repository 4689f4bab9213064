#include "Backends/MP4/SampleEntry.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

struct VideoFormat {
    std::string_view sampleEntry;
    std::string_view configurationBox;
};

constexpr std::string_view elementaryStreamBox = "esds";

constexpr std::array videoFormats = {VideoFormat{"avc1", "avcC"}, VideoFormat{"avc3", "avcC"},
    VideoFormat{"hvc1", "hvcC"}, VideoFormat{"hev1", "hvcC"}, VideoFormat{"av01", "av1C"},
    VideoFormat{"vp09", "vpcC"}, VideoFormat{"mp4v", elementaryStreamBox}};

// What a stream of MPEG-4 Systems is (ISO/IEC 14496-1 tables 5 and 6).
struct ElementaryStream {
    std::uint8_t objectType = 0;
    std::uint8_t streamType = 0;
};

constexpr ElementaryStream mpeg4Video = {0x20, 4};
constexpr ElementaryStream mpeg4Audio = {0x40, 5};

// Tags of descriptors (ISO/IEC 14496-1 table 1).
constexpr std::uint8_t streamTag = 3;
constexpr std::uint8_t decoderConfigurationTag = 4;
constexpr std::uint8_t decoderSpecificTag = 5;
constexpr std::uint8_t synchronizationTag = 6;
constexpr std::size_t descriptorHeadBytes = 5;

void writeDescriptorHead(BoxWriter& writer, std::uint8_t tag, std::size_t size)
{
    writer.number8(tag);
    // Seven bits of the size a byte, each but the last one marked.
    for (const unsigned shift : {21U, 14U, 7U})
        writer.number8(static_cast<std::uint8_t>((size >> shift & 0x7FU) | 0x80U));
    writer.number8(static_cast<std::uint8_t>(size & 0x7FU));
}

std::uint32_t bitRateField(std::int64_t bitsPerSecond)
{
    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::clamp(bitsPerSecond, std::int64_t{0}, most));
}

void writeElementaryStream(BoxWriter& writer, ElementaryStream stream,
    std::span<const std::uint8_t> configuration, std::uint32_t bitRate)
{
    constexpr std::size_t synchronizationBytes = 1;
    const std::size_t decoderBytes = 13 + descriptorHeadBytes + configuration.size();
    const std::size_t streamBytes = 3 + 2 * descriptorHeadBytes + decoderBytes + synchronizationBytes;
    const auto box = writer.box(elementaryStreamBox);
    writer.versionAndFlags(0, 0);
    writeDescriptorHead(writer, streamTag, streamBytes);
    writer.zeros(3); // the stream's number, of no use in a file, and its priority
    writeDescriptorHead(writer, decoderConfigurationTag, decoderBytes);
    writer.number8(stream.objectType);
    writer.number8(
        static_cast<std::uint8_t>(unsigned{stream.streamType} << 2U | 1U)); // the lowest bit is reserved
    writer.zeros(3); // size of the decoder's buffer, not known
    writer.number32(bitRate); // at most
    writer.number32(bitRate); // on average
    writeDescriptorHead(writer, decoderSpecificTag, configuration.size());
    writer.bytes(std::as_bytes(configuration));
    writeDescriptorHead(writer, synchronizationTag, synchronizationBytes);
    writer.number8(2); // as it has to be in MP4
}

void writeBitRate(BoxWriter& writer, std::uint32_t bitRate)
{
    if (bitRate == 0)
        return;
    const auto box = writer.box("btrt");
    writer.zeros(4); // size of the decoder's buffer, not known
    writer.number32(bitRate); // at most
    writer.number32(bitRate); // on average
}

// What every sample entry begins with.
void writeEntryHead(BoxWriter& writer)
{
    writer.zeros(6);
    writer.number16(1); // the data is in this file
}

const VideoFormat& knownFormat(const std::string& sampleEntry)
{
    const auto* const found = std::find_if(videoFormats.begin(), videoFormats.end(),
        [&](const VideoFormat& format) { return format.sampleEntry == sampleEntry; });
    if (found == videoFormats.end())
        throw PlatformError(
            errorDomain::mp4, 0, "MP4 has no place for pictures of the format \"" + sampleEntry + "\".");
    return *found;
}

} // namespace

void writeSampleEntry(BoxWriter& writer, const VideoTrackDescription& track)
{
    constexpr std::uint32_t pixelsPerInch = 72U << 16U;
    const VideoSampleDescription& samples = track.samples;
    const VideoFormat& format = knownFormat(samples.format);
    const std::uint32_t bitRate = bitRateField(track.averageBitRate);
    const auto entry = writer.box(format.sampleEntry);
    writeEntryHead(writer);
    writer.zeros(16);
    writer.number16(static_cast<std::uint16_t>(samples.width));
    writer.number16(static_cast<std::uint16_t>(samples.height));
    writer.number32(pixelsPerInch);
    writer.number32(pixelsPerInch);
    writer.zeros(4);
    writer.number16(1); // picture a sample
    writer.zeros(32); // name of the encoder
    writer.number16(24); // bits a pixel, without transparency
    writer.number16(0xFFFF);
    if (format.configurationBox == elementaryStreamBox) {
        writeElementaryStream(writer, mpeg4Video, samples.decoderConfiguration, bitRate);
    } else {
        const auto configuration = writer.box(format.configurationBox);
        writer.bytes(std::as_bytes(std::span(samples.decoderConfiguration)));
    }
    writeBitRate(writer, bitRate);
}

void writeSampleEntry(BoxWriter& writer, const AudioTrackDescription& track)
{
    constexpr int largestRate = 0xFFFF;
    const std::uint32_t bitRate = bitRateField(track.averageBitRate);
    const auto entry = writer.box("mp4a");
    writeEntryHead(writer);
    writer.zeros(8);
    writer.number16(static_cast<std::uint16_t>(track.channelCount));
    writer.number16(16); // bits a sample, whatever the decoder gives
    writer.zeros(4);
    // Of a rate that has no room here only the decoder's configuration tells.
    writer.number16(static_cast<std::uint16_t>(track.sampleRate <= largestRate ? track.sampleRate : 0));
    writer.zeros(2);
    writeElementaryStream(writer, mpeg4Audio, track.decoderConfiguration, bitRate);
    writeBitRate(writer, bitRate);
}

} // namespace glimto
