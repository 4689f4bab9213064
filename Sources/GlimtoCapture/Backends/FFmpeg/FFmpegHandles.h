#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Support/Owned.h"

namespace glimto {

inline void freeWithBuffer(AVIOContext* stream) noexcept
{
    av_freep(&stream->buffer);
    avio_context_free(&stream);
}

using CodecContextHandle = Owned<AVCodecContext, avcodec_free_context>;
using FormatContextHandle = Owned<AVFormatContext, avformat_free_context>; // not what it writes to
using FrameHandle = Owned<AVFrame, av_frame_free>;
using IOContextHandle = Owned<AVIOContext, freeWithBuffer>;
using PacketHandle = Owned<AVPacket, av_packet_free>;

} // namespace glimto
