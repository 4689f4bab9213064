#include "GlimtoTake/Media/FilterChain.h"

#include <array>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libavutil/samplefmt.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not filter the take";

using InOutHandle = Owned<AVFilterInOut, avfilter_inout_free>;

std::string ratio(AVRational value)
{
    return std::to_string(value.num) + "/" + std::to_string(value.den);
}

std::string pictureParameters(const AVFrame& like, AVRational timeBase)
{
    return "video_size=" + std::to_string(like.width) + "x" + std::to_string(like.height)
        + ":pix_fmt=" + std::to_string(like.format) + ":time_base=" + ratio(timeBase) + ":pixel_aspect=1/1";
}

std::string soundParameters(const AVFrame& like, AVRational timeBase)
{
    std::array<char, 64> layout = {};
    av_channel_layout_describe(&like.ch_layout, layout.data(), layout.size());
    return "sample_rate=" + std::to_string(like.sample_rate)
        + ":sample_fmt=" + av_get_sample_fmt_name(static_cast<AVSampleFormat>(like.format))
        + ":channel_layout=" + layout.data() + ":time_base=" + ratio(timeBase);
}

bool isSound(const AVFrame& frame)
{
    return frame.sample_rate > 0;
}

AVFilterContext* makeFilter(
    AVFilterGraph& graph, const char* name, const std::string& label, const std::string& parameters)
{
    AVFilterContext* filter = nullptr;
    requireFFmpeg(avfilter_graph_create_filter(&filter, avfilter_get_by_name(name), label.c_str(),
                      parameters.empty() ? nullptr : parameters.c_str(), nullptr, &graph),
        failure);
    return filter;
}

InOutHandle inOut(const std::string& label, AVFilterContext* filter)
{
    InOutHandle entry(avfilter_inout_alloc());
    if (!entry)
        throwOutOfMemory(failure);
    entry->name = av_strdup(label.c_str());
    entry->filter_ctx = filter;
    entry->pad_idx = 0;
    return entry;
}

} // namespace

FilterChain::FilterChain(
    const std::vector<Input>& inputs, AVRational timeBase, const std::string& description)
    : graph_(avfilter_graph_alloc())
{
    if (!graph_)
        throwOutOfMemory(failure);
    graph_->nb_threads = 1;
    const bool ofSound = isSound(*inputs.front().like);
    InOutHandle open;
    for (const Input& input : inputs) {
        sources_.push_back(ofSound
                ? makeFilter(*graph_, "abuffer", input.label, soundParameters(*input.like, timeBase))
                : makeFilter(*graph_, "buffer", input.label, pictureParameters(*input.like, timeBase)));
        auto entry = inOut(input.label, sources_.back());
        entry->next = open.release();
        open = std::move(entry);
    }
    sink_ = makeFilter(*graph_, ofSound ? "abuffersink" : "buffersink", "out", {});
    // Named from the side of the description: what it takes is what is still open here.
    AVFilterInOut* outputs = open.release();
    AVFilterInOut* sinks = inOut("out", sink_).release();
    const int result = avfilter_graph_parse_ptr(graph_.get(), description.c_str(), &sinks, &outputs, nullptr);
    avfilter_inout_free(&sinks);
    avfilter_inout_free(&outputs);
    requireFFmpeg(result, failure);
    requireFFmpeg(avfilter_graph_config(graph_.get(), nullptr), failure);
}

void FilterChain::push(std::size_t input, AVFrame* frame)
{
    requireFFmpeg(av_buffersrc_add_frame_flags(sources_[input], frame, 0), failure);
}

bool FilterChain::pull(AVFrame& frame)
{
    const int result = av_buffersink_get_frame(sink_, &frame);
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
        return false;
    requireFFmpeg(result, failure);
    return true;
}

void FilterChain::setSamplesPerFrame(int count)
{
    av_buffersink_set_frame_size(sink_, static_cast<unsigned>(count));
}

} // namespace glimto
