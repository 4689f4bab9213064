#include "GlimtoTake/Media/FirstPictures.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/FrameEncoder.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* quality = "14"; // constant rate factor: nobody sees where the copied pictures begin

using Bytes = std::vector<std::uint8_t>;

std::size_t number(std::span<const std::uint8_t> bytes, std::size_t at, int count)
{
    std::size_t value = 0;
    for (int index = 0; index < count; ++index)
        value = value << 8U | (at < bytes.size() ? bytes[at++] : 0U);
    return value;
}

void append(Bytes& to, std::span<const std::uint8_t> bytes)
{
    to.push_back(static_cast<std::uint8_t>(bytes.size() >> 8U));
    to.push_back(static_cast<std::uint8_t>(bytes.size() & 0xFFU));
    to.insert(to.end(), bytes.begin(), bytes.end());
}

// A list of parameter sets in an avcC record; moves `at` behind it.
std::vector<std::span<const std::uint8_t>> setsAt(
    std::span<const std::uint8_t> record, std::size_t& at, unsigned mask)
{
    std::vector<std::span<const std::uint8_t>> sets;
    const std::size_t count = number(record, at, 1) & mask;
    at += 1;
    for (std::size_t index = 0; index < count; ++index) {
        const std::size_t size = number(record, at, 2);
        at += 2;
        if (at > record.size() || size > record.size() - at)
            throw CLIError("The take's initialization segment describes its pictures wrongly.");
        sets.push_back(record.subspan(at, size));
        at += size;
    }
    return sets;
}

// The avcC record (ISO/IEC 14496-15 section 5.3.3.1) with the parameter sets of `units` (NAL units behind
// 4-byte lengths) as well.
Bytes withParameterSets(std::span<const std::uint8_t> record, std::span<const std::uint8_t> units)
{
    if (record.size() < 7 || record[0] != 1 || (record[4] & 3U) != 3)
        throw CLIError("The take's pictures can only be cut at keyframes.");
    std::size_t at = 5;
    auto sequenceSets = setsAt(record, at, 0x1F);
    auto pictureSets = setsAt(record, at, 0xFF);
    const auto rest = record.subspan(std::min(at, record.size()));
    for (std::size_t unit = 0; unit + 4 < units.size();) {
        const std::size_t size = number(units, unit, 4);
        if (size == 0 || size > units.size() - unit - 4)
            break;
        const auto payload = units.subspan(unit + 4, size);
        if ((payload[0] & 0x1FU) == 7)
            sequenceSets.push_back(payload);
        else if ((payload[0] & 0x1FU) == 8)
            pictureSets.push_back(payload);
        unit += 4 + size;
    }
    Bytes merged(record.begin(), record.begin() + 5);
    for (const auto& set : sequenceSets)
        merged[3] = std::max(merged[3], set.size() > 3 ? set[3] : merged[3]); // the higher level
    merged.push_back(static_cast<std::uint8_t>(0xE0U | sequenceSets.size()));
    for (const auto& set : sequenceSets)
        append(merged, set);
    merged.push_back(static_cast<std::uint8_t>(pictureSets.size()));
    for (const auto& set : pictureSets)
        append(merged, set);
    merged.insert(merged.end(), rest.begin(), rest.end());
    return merged;
}

// Lengths before NAL units instead of start codes, as the copied pictures have them.
FrameEncoder makeEncoder(const AVFrame& like, AVRational timeBase)
{
    if (!FrameEncoder::exists("libx264"))
        throw CLIError("This FFmpeg has no H.264 encoder, so a take can only be cut at its keyframes.");
    return {"libx264", like, timeBase,
        {{"preset", "veryfast"}, {"crf", quality}, {"bf", "0"},
            {"x264-params", "sps-id=1:annexb=0:keyint=infinite:scenecut=0"}},
        FrameEncoder::Header::global};
}

// What is shown from `time` on until the next piece begins, the first picture at `time` itself.
std::vector<FrameHandle> picturesFrom(
    const ExaminedTrack& video, std::size_t first, std::int64_t time, AVRational& timeBase)
{
    TrackDecoder decoder(video, first, 1);
    timeBase = decoder.stream().time_base;
    const std::int64_t end = video.pieces[first].content.end;
    const bool isLast = first + 1 == video.pieces.size();
    std::vector<FrameHandle> pictures;
    while (true) {
        FrameHandle frame = makeFrame();
        if (!decoder.next(*frame) || (!isLast && frame->pts >= end - 1))
            break;
        if (frame->pts <= time)
            pictures.clear();
        frame->pts = std::max(frame->pts, time);
        frame->pict_type = AV_PICTURE_TYPE_NONE;
        pictures.push_back(std::move(frame));
    }
    if (pictures.empty())
        throw CLIError("No picture of the take can be decoded there.");
    return pictures;
}

} // namespace

FirstPictures encodeFirstPictures(const ExaminedTrack& video, std::size_t first, std::int64_t time)
{
    FirstPictures result;
    AVRational timeBase = {};
    const auto pictures = picturesFrom(video, first, time, timeBase);
    FrameEncoder encoder = makeEncoder(*pictures.front(), timeBase);
    const FrameEncoder::Sink keep = [&](AVPacket& packet) {
        result.packets.push_back(makePacket());
        av_packet_move_ref(result.packets.back().get(), &packet);
        result.packets.back()->dts = result.packets.back()->pts;
    };
    for (const auto& picture : pictures)
        encoder.encode(*picture, keep);
    encoder.finish(keep);

    const TrackReader reader(*video.files.initializationSegment, {});
    const AVCodecParameters& copied = *reader.stream().codecpar;
    result.decoderConfiguration
        = withParameterSets({copied.extradata, static_cast<std::size_t>(copied.extradata_size)},
            {encoder.context().extradata, static_cast<std::size_t>(encoder.context().extradata_size)});
    return result;
}

} // namespace glimto
