#include "Artifacts/HLSPlaylist.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "Support/Text.h"

namespace glimto {

namespace {

// Independent of the process's locale, which may write a decimal comma.
std::string sixDecimals(double value)
{
    std::array<char, 330> digits; // for the largest double
    const auto end
        = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6).ptr;
    return {digits.data(), end};
}

long long targetDuration(const std::vector<CapturedSegment>& segments)
{
    double longest = 1;
    for (const auto& segment : segments)
        longest = std::max(longest, segment.duration);
    return std::llround(std::ceil(longest));
}

std::string uri(const std::string& key, PlaylistPlacement placement)
{
    if (placement == PlaylistPlacement::aboveSegments)
        return replacingAll(key, "segments/", "");
    const auto slash = key.rfind('/');
    return slash == std::string::npos ? key : key.substr(slash + 1);
}

} // namespace

std::string mediaPlaylistText(const std::string& initSegmentKey, const std::vector<CapturedSegment>& segments,
    PlaylistPlacement placement)
{
    std::string text = "#EXTM3U\n"
                       "#EXT-X-VERSION:7\n"
                       "#EXT-X-TARGETDURATION:"
        + std::to_string(targetDuration(segments))
        + "\n"
          "#EXT-X-MEDIA-SEQUENCE:0\n"
          "#EXT-X-INDEPENDENT-SEGMENTS\n"
          "#EXT-X-MAP:URI=\""
        + uri(initSegmentKey, placement) + "\"\n";
    for (const auto& segment : segments)
        text += "#EXTINF:" + sixDecimals(segment.duration) + ",\n" + uri(segment.relativeKey, placement)
            + "\n";
    return text + "#EXT-X-ENDLIST\n";
}

std::string masterPlaylistText(int width, int height, int framesPerSecond, const std::string& videoCodec)
{
    return "#EXTM3U\n"
           "#EXT-X-VERSION:7\n"
           "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"system-audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,"
           "URI=\"audio/playlist.m3u8\"\n"
           "#EXT-X-STREAM-INF:BANDWIDTH=16000000,RESOLUTION="
        + std::to_string(width) + "x" + std::to_string(height)
        + ",FRAME-RATE=" + std::to_string(framesPerSecond) + ",CODECS=\"" + videoCodec
        + ",mp4a.40.2\",AUDIO=\"system-audio\"\n"
          "video/playlist.m3u8\n";
}

} // namespace glimto
