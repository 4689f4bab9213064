#include "GlimtoTake/Media/Decoder.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not decode the take";

} // namespace

TrackDecoder::TrackDecoder(const ExaminedTrack& track, std::size_t first, int threadCount)
    : reader_(*track.files.initializationSegment, track.mediaPieces(first))
    , packet_(makePacket())
{
    const AVCodecParameters& parameters = *reader_.stream().codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    if (!codec)
        throw CLIError("The take's " + track.files.name + " is in a format that cannot be decoded.");
    decoder_.reset(requireAllocated(avcodec_alloc_context3(codec), failure));
    requireFFmpeg(avcodec_parameters_to_context(decoder_.get(), &parameters), failure);
    decoder_->pkt_timebase = reader_.stream().time_base;
    decoder_->thread_count = threadCount;
    requireFFmpeg(avcodec_open2(decoder_.get(), codec, nullptr), failure);
}

bool TrackDecoder::next(AVFrame& frame)
{
    while (true) {
        const int result = avcodec_receive_frame(decoder_.get(), &frame);
        if (result >= 0) {
            if (frame.pts == AV_NOPTS_VALUE)
                frame.pts = frame.best_effort_timestamp;
            return true;
        }
        if (result == AVERROR_EOF || (isDraining_ && result == AVERROR(EAGAIN)))
            return false;
        if (!isDraining_ && reader_.read(*packet_)) {
            avcodec_send_packet(decoder_.get(), packet_.get()); // what is damaged costs its own pictures only
        } else {
            isDraining_ = true;
            avcodec_send_packet(decoder_.get(), nullptr);
        }
    }
}

std::size_t pieceAt(const ExaminedTrack& track, double time)
{
    const auto after = std::upper_bound(
        track.pieces.begin(), track.pieces.end(), time, [&](double value, const ExaminedPiece& piece) {
            return value < track.facts.seconds(piece.content.start);
        });
    return after == track.pieces.begin() ? 0 : static_cast<std::size_t>(after - track.pieces.begin()) - 1;
}

std::optional<std::pair<int, int>> jpegSize(const std::filesystem::path& path)
{
    AVFormatContext* format = nullptr;
    const std::string url = "file:" + path.string();
    if (avformat_open_input(&format, url.c_str(), av_find_input_format("jpeg_pipe"), nullptr) < 0)
        return std::nullopt;
    const InputFormatHandle input(format);
    if (avformat_find_stream_info(format, nullptr) < 0 || format->nb_streams < 1)
        return std::nullopt;
    const AVCodecParameters& parameters = *format->streams[0]->codecpar;
    if (parameters.width <= 0 || parameters.height <= 0)
        return std::nullopt;
    return std::pair(parameters.width, parameters.height);
}

PixelCanvas makeCanvasFor(const AVFrame& frame)
{
    return makeCanvas((frame.width + 15) / 16 * 16, frame.height + 1);
}

PixelBuffer pixelsOf(const AVFrame& frame, int width, int height)
{
    const PixelCanvas canvas = makeCanvasFor(frame);
    const ScalerHandle scaler(sws_getContext(frame.width, frame.height,
        static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, AV_PIX_FMT_BGR0,
        SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
    if (!scaler)
        throw CLIError("The take's pictures cannot be converted.");
    const int matrix = frame.colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(matrix),
        frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0, sws_getCoefficients(matrix), 1, 0, 1 << 16, 1 << 16);
    std::uint8_t* planes[] = {canvas.bytes};
    const int strides[] = {static_cast<int>(canvas.bytesPerRow)};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    return canvas.part({0, 0, std::min(width, frame.width), std::min(height, frame.height)});
}

PixelBuffer pictureAt(const ExaminedTrack& video, double time, int width, int height)
{
    TrackDecoder decoder(video, pieceAt(video, time), 1);
    FrameHandle shown = makeFrame();
    FrameHandle next = makeFrame();
    constexpr double rounding = 1e-4; // seconds
    bool hasPicture = false;
    while (decoder.next(*next)) {
        if (hasPicture && video.facts.seconds(next->pts) > time + rounding)
            break;
        std::swap(shown, next);
        hasPicture = true;
    }
    if (!hasPicture)
        throw CLIError("No picture of the take can be decoded there.");
    return pixelsOf(*shown, width, height);
}

} // namespace glimto
