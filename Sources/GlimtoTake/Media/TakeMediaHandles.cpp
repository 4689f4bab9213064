#include "GlimtoTake/Media/TakeMediaHandles.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"

namespace glimto {

void TakeMediaDeleter::operator()(AVCodecParameters* parameters) const noexcept
{
    avcodec_parameters_free(&parameters);
}

void TakeMediaDeleter::operator()(AVFilterGraph* graph) const noexcept
{
    avfilter_graph_free(&graph);
}

void TakeMediaDeleter::operator()(AVFormatContext* input) const noexcept
{
    avformat_close_input(&input);
}

void TakeMediaDeleter::operator()(SwsContext* scaler) const noexcept
{
    sws_freeContext(scaler);
}

FrameHandle makeFrame()
{
    return FrameHandle(requireAllocated(av_frame_alloc(), "Could not hold a frame"));
}

PacketHandle makePacket()
{
    return PacketHandle(requireAllocated(av_packet_alloc(), "Could not hold a packet"));
}

} // namespace glimto
