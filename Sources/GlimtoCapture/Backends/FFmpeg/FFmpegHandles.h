#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "Support/Owned.h"

namespace glimto {

using CodecContextHandle = Owned<AVCodecContext, avcodec_free_context>;
using FrameHandle = Owned<AVFrame, av_frame_free>;
using PacketHandle = Owned<AVPacket, av_packet_free>;

} // namespace glimto
