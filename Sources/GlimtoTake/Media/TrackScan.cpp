#include "GlimtoTake/Media/TrackScan.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// The rate in the stream's own headers, which the decoder tells once it has seen a picture.
double encodedFrameRate(const AVCodecParameters& parameters, const AVPacket& packet)
{
    const AVCodec* decoder = avcodec_find_decoder(parameters.codec_id);
    const CodecContextHandle context(decoder ? avcodec_alloc_context3(decoder) : nullptr);
    if (!context || avcodec_parameters_to_context(context.get(), &parameters) < 0)
        return 0;
    context->thread_count = 1;
    if (avcodec_open2(context.get(), decoder, nullptr) < 0 || avcodec_send_packet(context.get(), &packet) < 0)
        return 0;
    return context->framerate.den > 0 ? av_q2d(context->framerate) : 0;
}

void describe(const AVStream& stream, TrackScan& scan)
{
    const AVCodecParameters& parameters = *stream.codecpar;
    scan.timescale = stream.time_base.den;
    if (parameters.codec_type == AVMEDIA_TYPE_VIDEO) {
        scan.width = parameters.width;
        scan.height = parameters.height;
    } else {
        scan.sampleRate = parameters.sample_rate;
        scan.channelCount = parameters.ch_layout.nb_channels;
    }
}

void note(const AVPacket& packet, ScannedSegment& segment)
{
    if (segment.packetCount == 0) {
        segment.start = segment.lastTime = packet.pts;
        segment.end = packet.pts;
        segment.startsWithKeyframe = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    }
    segment.start = std::min(segment.start, packet.pts);
    segment.lastTime = std::max(segment.lastTime, packet.pts);
    segment.lastDecodeTime = packet.dts;
    segment.end = std::max(segment.end, packet.pts + packet.duration);
    segment.packetCount += 1;
}

} // namespace

TrackScan scanTrack(const std::filesystem::path& initializationSegment, const std::vector<MediaPiece>& pieces)
{
    TrackReader reader(initializationSegment, pieces);
    TrackScan scan;
    describe(reader.stream(), scan);
    scan.segments.resize(pieces.size());
    const PacketHandle packet = makePacket();
    try {
        while (!pieces.empty() && reader.read(*packet)) {
            if (scan.width > 0 && scan.framesPerSecond == 0)
                scan.framesPerSecond = encodedFrameRate(*reader.stream().codecpar, *packet);
            note(*packet, scan.segments[std::min(reader.piece(), pieces.size() - 1)]);
        }
    } catch (const PlatformError& error) {
        if (error.domain() != "FFmpeg")
            throw;
    }
    return scan;
}

} // namespace glimto
