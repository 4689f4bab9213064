#include "GlimtoTake/Media/FrameEncoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not encode";

} // namespace

FrameEncoder::FrameEncoder(const std::string& name, const AVFrame& like, AVRational timeBase,
    const std::map<std::string, std::string>& options, Header header)
    : packet_(makePacket())
{
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    if (!codec)
        throw CLIError("This FFmpeg has no encoder " + name + ".");
    context_.reset(requireAllocated(avcodec_alloc_context3(codec), failure));
    context_->time_base = timeBase;
    if (like.sample_rate > 0) {
        context_->sample_rate = like.sample_rate;
        context_->sample_fmt = static_cast<AVSampleFormat>(like.format);
        requireFFmpeg(av_channel_layout_copy(&context_->ch_layout, &like.ch_layout), failure);
    } else {
        context_->width = like.width;
        context_->height = like.height;
        context_->pix_fmt = static_cast<AVPixelFormat>(like.format);
        context_->color_range = like.color_range;
        context_->color_primaries = like.color_primaries;
        context_->color_trc = like.color_trc;
        context_->colorspace = like.colorspace;
        // Some encoders take the time base for the rate otherwise. Frames keep the times that they have.
        constexpr AVRational usualRate = {30, 1};
        context_->framerate = usualRate;
    }
    context_->flags |= AV_CODEC_FLAG_BITEXACT;
    if (header == Header::global)
        context_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* dictionary = nullptr;
    for (const auto& [key, value] : options)
        av_dict_set(&dictionary, key.c_str(), value.c_str(), 0);
    const int result = avcodec_open2(context_.get(), codec, &dictionary);
    av_dict_free(&dictionary);
    requireFFmpeg(result, failure);
}

bool FrameEncoder::exists(const std::string& name)
{
    return avcodec_find_encoder_by_name(name.c_str()) != nullptr;
}

const AVCodecParameters& FrameEncoder::parameters()
{
    if (!parameters_)
        parameters_.reset(requireAllocated(avcodec_parameters_alloc(), failure));
    requireFFmpeg(avcodec_parameters_from_context(parameters_.get(), context_.get()), failure);
    return *parameters_;
}

void FrameEncoder::receive(const Sink& sink)
{
    while (true) {
        const int result = avcodec_receive_packet(context_.get(), packet_.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        requireFFmpeg(result, failure);
        sink(*packet_);
    }
}

void FrameEncoder::encode(AVFrame& frame, const Sink& sink)
{
    requireFFmpeg(avcodec_send_frame(context_.get(), &frame), failure);
    receive(sink);
}

void FrameEncoder::finish(const Sink& sink)
{
    requireFFmpeg(avcodec_send_frame(context_.get(), nullptr), failure);
    receive(sink);
}

} // namespace glimto
