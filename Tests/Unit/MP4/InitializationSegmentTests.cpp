#include "Backends/MP4/InitializationSegment.h"

#include <gtest/gtest.h>

#include "Support/Errors.h"
#include "Unit/MP4/BoxBytes.h"

namespace glimto {
namespace {

using namespace std::string_literals;

VideoTrackDescription video(const std::string& format, std::int64_t averageBitRate = 0)
{
    return {.samples = {.format = format, .decoderConfiguration = {1, 2, 3}, .width = 1280, .height = 720},
        .timescale = 90'000,
        .averageBitRate = averageBitRate};
}

std::string segment(const TrackDescription& track)
{
    return textOf(initializationSegment(track));
}

std::string_view mediaBox(std::string_view segment, std::string_view type)
{
    return boxIn(segment, {"moov", "trak", "mdia", type});
}

// The one sample entry: its header of 8 bytes and what is in it.
std::string_view sampleEntry(std::string_view segment)
{
    return boxIn(mediaBox(segment, "minf"), {"stbl", "stsd"}).substr(8);
}

TEST(InitializationSegmentTests, FileHasOneTrackThatGoesOnInFragments)
{
    const std::string whole = segment(video("avc1"));

    EXPECT_EQ(boxTypes(whole), "ftyp moov");
    EXPECT_EQ(boxIn(whole, "ftyp"), "iso5\0\0\2\0iso5iso6mp41"s);
    EXPECT_EQ(boxTypes(boxIn(whole, "moov")), "mvhd trak mvex");
    EXPECT_EQ(boxTypes(boxIn(whole, {"moov", "trak"})), "tkhd mdia");
    EXPECT_EQ(boxTypes(boxIn(whole, {"moov", "trak", "mdia"})), "mdhd hdlr minf");
    EXPECT_EQ(boxTypes(mediaBox(whole, "minf")), "vmhd dinf stbl");
    EXPECT_EQ(boxTypes(boxIn(mediaBox(whole, "minf"), "stbl")), "stsd stts stsc stsz stco");
    EXPECT_EQ(boxIn(whole, {"moov", "mvex", "trex"}), "\0\0\0\0\0\0\0\1\0\0\0\1"s + std::string(12, '\0'));
}

// Sizes of version 0 of each (ISO/IEC 14496-12 section 8).
TEST(InitializationSegmentTests, BoxesOfFixedSizeHaveIt)
{
    const std::string whole = segment(video("avc1"));

    EXPECT_EQ(boxIn(whole, {"moov", "mvhd"}).size(), 100U);
    EXPECT_EQ(boxIn(whole, {"moov", "trak", "tkhd"}).size(), 84U);
    EXPECT_EQ(mediaBox(whole, "mdhd").size(), 24U);
    EXPECT_EQ(boxIn(mediaBox(whole, "minf"), "vmhd").size(), 12U);
}

TEST(InitializationSegmentTests, VideoTrackHasItsSizeAndTimescale)
{
    const std::string whole = segment(video("avc1"));

    const std::string_view track = boxIn(whole, {"moov", "trak", "tkhd"});
    EXPECT_EQ(numberAt(track, 76), 1280U << 16U);
    EXPECT_EQ(numberAt(track, 80), 720U << 16U);
    EXPECT_EQ(numberAt(mediaBox(whole, "mdhd"), 12), 90'000U);
    EXPECT_EQ(mediaBox(whole, "hdlr").substr(8, 4), "vide");
    EXPECT_EQ(numberAt(sampleEntry(whole), 8 + 24, 2), 1280U);
    EXPECT_EQ(numberAt(sampleEntry(whole), 8 + 26, 2), 720U);
}

TEST(InitializationSegmentTests, DecoderConfigurationLiesInTheBoxOfItsFormat)
{
    constexpr std::size_t headBytes = 8 + 78;
    for (const auto& [format, box] : {std::pair{"avc1", "avcC"}, {"avc3", "avcC"}, {"hvc1", "hvcC"},
             {"hev1", "hvcC"}, {"av01", "av1C"}, {"vp09", "vpcC"}}) {
        const std::string whole = segment(video(format));
        EXPECT_EQ(sampleEntry(whole).substr(4, 4), format);
        EXPECT_EQ(boxTypes(sampleEntry(whole).substr(headBytes)), box);
        EXPECT_EQ(boxIn(sampleEntry(whole).substr(headBytes), box), "\1\2\3");
    }
}

TEST(InitializationSegmentTests, BitRateIsToldWhereItIsKnown)
{
    const std::string whole = segment(video("avc1", 2'000'000));
    EXPECT_EQ(boxIn(sampleEntry(whole).substr(86), "btrt"), "\0\0\0\0\0\x1E\x84\x80\0\x1E\x84\x80"s);
}

TEST(InitializationSegmentTests, MPEG4VideoIsDescribedAsAnElementaryStream)
{
    const std::string whole = segment(video("mp4v"));
    EXPECT_EQ(boxIn(sampleEntry(whole).substr(86), "esds"),
        "\0\0\0\0\3\x80\x80\x80\x23\0\0\0\4\x80\x80\x80\x15\x20\x11"s + std::string(11, '\0')
            + "\5\x80\x80\x80\3\1\2\3\6\x80\x80\x80\1\2"s);
}

TEST(InitializationSegmentTests, FormatThatMP4HasNoPlaceForIsRefused)
{
    EXPECT_THROW(segment(video("what")), PlatformError);
    EXPECT_THROW(segment(video("")), PlatformError);
}

TEST(InitializationSegmentTests, AudioTrackIsAACAtItsSampleRate)
{
    const std::vector<std::uint8_t> configuration = {0x11, 0x90};
    const std::string whole = segment(AudioTrackDescription{.sampleRate = 48'000,
        .channelCount = 2,
        .decoderConfiguration = configuration,
        .averageBitRate = 128'000});

    EXPECT_EQ(boxTypes(mediaBox(whole, "minf")), "smhd dinf stbl");
    EXPECT_EQ(mediaBox(whole, "hdlr").substr(8, 4), "soun");
    EXPECT_EQ(numberAt(mediaBox(whole, "mdhd"), 12), 48'000U);
    EXPECT_EQ(sampleEntry(whole).substr(4, 4), "mp4a");
    EXPECT_EQ(
        sampleEntry(whole).substr(8, 28), "\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\2\0\x10\0\0\0\0\xBB\x80\0\0"s);
    EXPECT_EQ(boxTypes(sampleEntry(whole).substr(36)), "esds btrt");
    EXPECT_EQ(boxIn(sampleEntry(whole).substr(36), "esds"),
        "\0\0\0\0\3\x80\x80\x80\x22\0\0\0\4\x80\x80\x80\x14\x40\x15\0\0\0\0\1\xF4\0\0\1\xF4\0\5\x80\x80\x80\2\x11\x90\6\x80\x80\x80\1\2"s);
}

TEST(InitializationSegmentTests, RateWithoutRoomIsLeftToTheDecodersConfiguration)
{
    const std::string whole = segment(AudioTrackDescription{.sampleRate = 96'000, .channelCount = 2});
    EXPECT_EQ(numberAt(sampleEntry(whole), 32), 0U);
    EXPECT_EQ(numberAt(mediaBox(whole, "mdhd"), 12), 96'000U);
}

} // namespace
} // namespace glimto
