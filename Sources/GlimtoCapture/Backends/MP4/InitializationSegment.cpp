#include "Backends/MP4/InitializationSegment.h"

#include <initializer_list>
#include <string_view>

#include "Backends/MP4/BoxWriter.h"
#include "Backends/MP4/SampleEntry.h"

namespace glimto {

namespace {

// What the boxes say of the track, whichever kind it is of.
struct TrackFacts {
    std::string_view handler;
    std::string_view handlerName;
    std::uint32_t timescale = 0;
    std::uint16_t alternateGroup = 0; // of tracks one of which is played
    std::uint16_t volume = 0; // 8.8 fixed point
    std::uint32_t width = 0; // pixels
    std::uint32_t height = 0;
};

TrackFacts facts(const VideoTrackDescription& track)
{
    return {.handler = "vide",
        .handlerName = "VideoHandler",
        .timescale = static_cast<std::uint32_t>(track.timescale),
        .width = static_cast<std::uint32_t>(track.samples.width),
        .height = static_cast<std::uint32_t>(track.samples.height)};
}

TrackFacts facts(const AudioTrackDescription& track)
{
    return {.handler = "soun",
        .handlerName = "SoundHandler",
        .timescale = static_cast<std::uint32_t>(track.sampleRate),
        .alternateGroup = 1,
        .volume = 0x100};
}

void writeMediaHeader(BoxWriter& writer, const VideoTrackDescription& /*track*/)
{
    const auto header = writer.box("vmhd");
    writer.versionAndFlags(0, 1);
    writer.zeros(8); // nothing but copied
}

void writeMediaHeader(BoxWriter& writer, const AudioTrackDescription& /*track*/)
{
    const auto header = writer.box("smhd");
    writer.versionAndFlags(0, 0);
    writer.zeros(4); // in the middle
}

void writeFileType(BoxWriter& writer)
{
    const auto type = writer.box("ftyp");
    writer.text("iso5"); // the first with the decode time in fragments
    writer.number32(0x200);
    for (const std::string_view brand : {"iso5", "iso6", "mp41"})
        writer.text(brand);
}

void writeUnityMatrix(BoxWriter& writer)
{
    constexpr std::uint32_t one = 1U << 16U;
    for (const std::uint32_t value : {one, 0U, 0U, 0U, one, 0U, 0U, 0U, 1U << 30U})
        writer.number32(value);
}

void writeMovieHeader(BoxWriter& writer)
{
    constexpr std::uint32_t millisecondsPerSecond = 1000;
    const auto header = writer.box("mvhd");
    writer.versionAndFlags(0, 0);
    writer.zeros(8); // when it was made
    writer.number32(millisecondsPerSecond);
    writer.zeros(4); // nothing lasts here
    writer.number32(1U << 16U); // played as fast as it is
    writer.number16(0x100); // and as loud
    writer.zeros(10);
    writeUnityMatrix(writer);
    writer.zeros(24);
    writer.number32(onlyTrack + 1); // what another track would be called
}

void writeTrackHeader(BoxWriter& writer, const TrackFacts& track)
{
    constexpr std::uint32_t enabledAndInMovie = 3;
    const auto header = writer.box("tkhd");
    writer.versionAndFlags(0, enabledAndInMovie);
    writer.zeros(8); // when it was made
    writer.number32(onlyTrack);
    writer.zeros(18); // how long it lasts, which lies on top
    writer.number16(track.alternateGroup);
    writer.number16(track.volume);
    writer.zeros(2);
    writeUnityMatrix(writer);
    writer.number32(track.width << 16U);
    writer.number32(track.height << 16U);
}

void writeMediaFacts(BoxWriter& writer, const TrackFacts& track)
{
    constexpr std::uint16_t undeterminedLanguage = 0x55C4; // "und", five bits a letter
    {
        const auto header = writer.box("mdhd");
        writer.versionAndFlags(0, 0);
        writer.zeros(8); // when it was made
        writer.number32(track.timescale);
        writer.zeros(4);
        writer.number16(undeterminedLanguage);
        writer.zeros(2);
    }
    const auto handler = writer.box("hdlr");
    writer.versionAndFlags(0, 0);
    writer.zeros(4);
    writer.text(track.handler);
    writer.zeros(12);
    writer.text(track.handlerName);
    writer.zeros(1);
}

// All samples lie in the same file.
void writeDataInformation(BoxWriter& writer)
{
    const auto information = writer.box("dinf");
    const auto references = writer.box("dref");
    writer.versionAndFlags(0, 0);
    writer.number32(1);
    const auto location = writer.box("url ");
    writer.versionAndFlags(0, 1);
}

template <typename Track> void writeSampleTable(BoxWriter& writer, const Track& track)
{
    const auto table = writer.box("stbl");
    {
        const auto descriptions = writer.box("stsd");
        writer.versionAndFlags(0, 0);
        writer.number32(1);
        writeSampleEntry(writer, track);
    }
    // No samples: they come in fragments.
    for (const std::string_view type : {"stts", "stsc", "stsz", "stco"}) {
        const auto list = writer.box(type);
        writer.zeros(type == "stsz" ? 12 : 8);
    }
}

template <typename Track> void writeMedia(BoxWriter& writer, const Track& track)
{
    const auto media = writer.box("mdia");
    writeMediaFacts(writer, facts(track));
    const auto information = writer.box("minf");
    writeMediaHeader(writer, track);
    writeDataInformation(writer);
    writeSampleTable(writer, track);
}

void writeFragmentDefaults(BoxWriter& writer)
{
    const auto extends = writer.box("mvex");
    const auto defaults = writer.box("trex");
    writer.versionAndFlags(0, 0);
    writer.number32(onlyTrack);
    writer.number32(1); // the only sample description
    writer.zeros(12); // each fragment has its own
}

template <typename Track> void writeMovie(BoxWriter& writer, const Track& track)
{
    const auto movie = writer.box("moov");
    writeMovieHeader(writer);
    {
        const auto box = writer.box("trak");
        writeTrackHeader(writer, facts(track));
        writeMedia(writer, track);
    }
    writeFragmentDefaults(writer);
}

} // namespace

std::vector<std::byte> initializationSegment(const TrackDescription& track)
{
    std::vector<std::byte> segment;
    BoxWriter writer(segment);
    writeFileType(writer);
    std::visit([&](const auto& known) { writeMovie(writer, known); }, track);
    return segment;
}

} // namespace glimto
