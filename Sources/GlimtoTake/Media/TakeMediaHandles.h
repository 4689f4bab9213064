#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "Backends/FFmpeg/FFmpegHandles.h"
#include "Support/Owned.h"

namespace glimto {

inline void freeWithBuffer(AVIOContext* stream) noexcept
{
    av_freep(&stream->buffer);
    avio_context_free(&stream);
}

using CodecParametersHandle = Owned<AVCodecParameters, avcodec_parameters_free>;
using FilterGraphHandle = Owned<AVFilterGraph, avfilter_graph_free>;
using FormatContextHandle = Owned<AVFormatContext, avformat_free_context>; // not what it writes to
using InputFormatHandle = Owned<AVFormatContext, avformat_close_input>; // but not a stream of the caller's
using IOContextHandle = Owned<AVIOContext, freeWithBuffer>;
using ScalerHandle = Owned<SwsContext, sws_freeContext>;

// Empty ones. Throw PlatformError when there is no memory.
inline FrameHandle makeFrame()
{
    return FrameHandle(requireAllocated(av_frame_alloc(), "Could not hold a frame"));
}

inline PacketHandle makePacket()
{
    return PacketHandle(requireAllocated(av_packet_alloc(), "Could not hold a packet"));
}

} // namespace glimto
