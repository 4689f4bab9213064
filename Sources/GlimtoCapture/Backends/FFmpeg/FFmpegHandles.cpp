#include "Backends/FFmpeg/FFmpegHandles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace glimto {

void FFmpegDeleter::operator()(AVCodecContext* codec) const noexcept
{
    avcodec_free_context(&codec);
}

void FFmpegDeleter::operator()(AVFormatContext* format) const noexcept
{
    avformat_free_context(format);
}

void FFmpegDeleter::operator()(AVFrame* frame) const noexcept
{
    av_frame_free(&frame);
}

void FFmpegDeleter::operator()(AVIOContext* stream) const noexcept
{
    av_freep(&stream->buffer);
    avio_context_free(&stream);
}

void FFmpegDeleter::operator()(AVPacket* packet) const noexcept
{
    av_packet_free(&packet);
}

} // namespace glimto
