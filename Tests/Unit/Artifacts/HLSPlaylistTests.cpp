#include "Artifacts/HLSPlaylist.h"

#include <locale>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::HasSubstr;

std::vector<CapturedSegment> segmentsLasting(std::initializer_list<double> durations)
{
    std::vector<CapturedSegment> segments;
    for (const double duration : durations) {
        const int index = static_cast<int>(segments.size());
        segments.push_back({index, "segments/video/segment_00" + std::to_string(index) + ".m4s", duration,
            1000, std::nullopt});
    }
    return segments;
}

std::string videoPlaylist(std::initializer_list<double> durations)
{
    return mediaPlaylistText(
        "segments/video/init.mp4", segmentsLasting(durations), PlaylistPlacement::besideSegments);
}

// A locale that writes decimal commas and groups digits, as a process may have set.
class CommaNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class ScopedGlobalLocale {
public:
    explicit ScopedGlobalLocale(const std::locale& locale)
        : previous_(std::locale::global(locale))
    {
    }
    ~ScopedGlobalLocale() { std::locale::global(previous_); }
    ScopedGlobalLocale(const ScopedGlobalLocale&) = delete;
    ScopedGlobalLocale& operator=(const ScopedGlobalLocale&) = delete;

private:
    std::locale previous_;
};

TEST(MediaPlaylistTests, AboveTheSegmentsURIsNameTheTrack)
{
    EXPECT_EQ(mediaPlaylistText("segments/video/init.mp4", segmentsLasting({4.0, 4.0, 1.5}),
                  PlaylistPlacement::aboveSegments),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-TARGETDURATION:4\n"
        "#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-MAP:URI=\"video/init.mp4\"\n"
        "#EXTINF:4.000000,\n"
        "video/segment_000.m4s\n"
        "#EXTINF:4.000000,\n"
        "video/segment_001.m4s\n"
        "#EXTINF:1.500000,\n"
        "video/segment_002.m4s\n"
        "#EXT-X-ENDLIST\n");
}

TEST(MediaPlaylistTests, BesideTheSegmentsURIsAreFileNames)
{
    EXPECT_EQ(videoPlaylist({4.0001, 2.0}),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-TARGETDURATION:5\n"
        "#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-MAP:URI=\"init.mp4\"\n"
        "#EXTINF:4.000100,\n"
        "segment_000.m4s\n"
        "#EXTINF:2.000000,\n"
        "segment_001.m4s\n"
        "#EXT-X-ENDLIST\n");
}

TEST(MediaPlaylistTests, WithoutSegmentsTheTargetDurationIsOne)
{
    EXPECT_EQ(videoPlaylist({}),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-TARGETDURATION:1\n"
        "#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-MAP:URI=\"init.mp4\"\n"
        "#EXT-X-ENDLIST\n");
}

TEST(MediaPlaylistTests, TargetDurationIsAtLeastOne)
{
    EXPECT_THAT(videoPlaylist({0.2}), HasSubstr("#EXT-X-TARGETDURATION:1\n"));
}

TEST(MediaPlaylistTests, TargetDurationFollowsTheLongestSegmentWhereverItStands)
{
    EXPECT_THAT(videoPlaylist({1.0, 6.5, 2.0}), HasSubstr("#EXT-X-TARGETDURATION:7\n"));
}

TEST(MediaPlaylistTests, DurationsHaveSixRoundedDecimals)
{
    EXPECT_THAT(videoPlaylist({3.9999996}), HasSubstr("#EXTINF:4.000000,\n"));
    EXPECT_THAT(videoPlaylist({1.0 / 3.0}), HasSubstr("#EXTINF:0.333333,\n"));
}

TEST(MediaPlaylistTests, NumbersDoNotDependOnTheLocale)
{
    const ScopedGlobalLocale locale(std::locale(std::locale::classic(), new CommaNumbers));
    EXPECT_THAT(videoPlaylist({1234.5}), HasSubstr("#EXTINF:1234.500000,\n"));
}

TEST(MediaPlaylistTests, AboveTheSegmentsEverySegmentsPartIsRemoved)
{
    const std::vector<CapturedSegment> segments = {{0, "segments/video/segments/a.m4s", 1, 1, std::nullopt}};
    EXPECT_THAT(mediaPlaylistText("init.mp4", segments, PlaylistPlacement::aboveSegments),
        HasSubstr("#EXT-X-MAP:URI=\"init.mp4\"\n#EXTINF:1.000000,\nvideo/a.m4s\n"));
}

TEST(MasterPlaylistTests, NamesTheMediaPlaylistsOfBothTracks)
{
    EXPECT_EQ(masterPlaylistText(1920, 1080, 30, "avc1.640028"),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"system-audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,"
        "URI=\"audio/playlist.m3u8\"\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=16000000,RESOLUTION=1920x1080,FRAME-RATE=30,"
        "CODECS=\"avc1.640028,mp4a.40.2\",AUDIO=\"system-audio\"\n"
        "video/playlist.m3u8\n");
}

TEST(MasterPlaylistTests, NamesWhateverTheVideoIsEncodedWith)
{
    EXPECT_THAT(masterPlaylistText(1920, 1080, 30, "mp4v.20.9"), HasSubstr("CODECS=\"mp4v.20.9,mp4a.40.2\""));
}

} // namespace
} // namespace glimto
