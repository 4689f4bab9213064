#include "GlimtoTake/Media/TakeMediaHandles.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace glimto {

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

void TakeMediaDeleter::operator()(SwrContext* resampler) const noexcept
{
    swr_free(&resampler);
}

} // namespace glimto
