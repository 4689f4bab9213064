#include "Backends/FFmpeg/FragmentMuxer.h"

#include <array>
#include <cstring>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr int bufferBytes = 64 * 1024;

int check(int result, const char* what)
{
    if (result >= 0)
        return result;
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text = {};
    av_strerror(result, text.data(), text.size());
    throw PlatformError("FFmpeg", result, std::string(what) + ": " + text.data());
}

template <typename Pointer> Pointer checkAllocated(Pointer pointer)
{
    check(pointer ? 0 : AVERROR(ENOMEM), "Could not make the MP4 writer");
    return pointer;
}

void describeStream(AVStream& stream, const VideoTrackDescription& track)
{
    AVCodecParameters& codec = *stream.codecpar;
    codec.codec_type = AVMEDIA_TYPE_VIDEO;
    codec.codec_id = AV_CODEC_ID_H264;
    codec.width = track.width;
    codec.height = track.height;
    codec.bit_rate = track.averageBitRate;
    const std::size_t size = track.decoderConfiguration.size();
    codec.extradata
        = static_cast<std::uint8_t*>(checkAllocated(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE)));
    std::memcpy(codec.extradata, track.decoderConfiguration.data(), size);
    codec.extradata_size = static_cast<int>(size);
    stream.time_base = {1, track.timescale};
}

} // namespace

struct FragmentMuxer::Context {
    AVFormatContext* format = nullptr;
    AVIOContext* output = nullptr;
    AVPacket* packet = nullptr;

    Context() = default;
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;
    ~Context()
    {
        av_packet_free(&packet);
        avformat_free_context(format);
        if (output)
            av_freep(&output->buffer);
        avio_context_free(&output);
    }
};

FragmentMuxer::FragmentMuxer(const VideoTrackDescription& track)
    : context_(std::make_unique<Context>())
{
    makeContext(track);
    AVDictionary* options = nullptr;
    // The caller ends fragments; times count from the track's start and need no edit list.
    av_dict_set(
        &options, "movflags", "frag_custom+empty_moov+default_base_moof+dash+skip_sidx+skip_trailer", 0);
    av_dict_set(&options, "use_editlist", "0", 0);
    av_dict_set_int(&options, "video_track_timescale", track.timescale, 0);
    const int result = avformat_write_header(context_->format, &options);
    av_dict_free(&options);
    check(result, "Could not write the MP4 header");
    avio_flush(context_->output);
    check(context_->output->error, "Could not write the MP4 header");
}

FragmentMuxer::~FragmentMuxer() = default;

void FragmentMuxer::makeContext(const VideoTrackDescription& track)
{
    check(avformat_alloc_output_context2(&context_->format, nullptr, "mp4", nullptr),
        "Could not make the MP4 writer");
    auto* buffer = static_cast<unsigned char*>(checkAllocated(av_malloc(bufferBytes)));
    context_->output
        = avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, &FragmentMuxer::receive, nullptr);
    if (!context_->output)
        av_free(buffer);
    checkAllocated(context_->output);
    context_->packet = checkAllocated(av_packet_alloc());
    context_->format->pb = context_->output;
    context_->format->flags |= AVFMT_FLAG_CUSTOM_IO;
    context_->format->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    describeStream(*checkAllocated(avformat_new_stream(context_->format, nullptr)), track);
}

int FragmentMuxer::receive(void* opaque, std::uint8_t* data, int size)
{
    auto& muxer = *static_cast<FragmentMuxer*>(opaque);
    try {
        const auto bytes = std::as_bytes(std::span(data, static_cast<std::size_t>(size)));
        muxer.output_.insert(muxer.output_.end(), bytes.begin(), bytes.end());
        return size;
    } catch (...) {
        return AVERROR(ENOMEM);
    }
}

void FragmentMuxer::addSample(
    std::span<const std::byte> data, std::int64_t time, std::int64_t duration, bool isKeyframe)
{
    AVPacket& packet = *context_->packet;
    av_packet_unref(&packet);
    // av_write_frame() only reads the data of a packet without a buffer of its own.
    packet.data = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(data.data()));
    packet.size = static_cast<int>(data.size());
    packet.pts = time;
    packet.dts = time;
    packet.duration = duration;
    packet.flags = isKeyframe ? AV_PKT_FLAG_KEY : 0;
    check(av_write_frame(context_->format, &packet), "Could not write to the MP4 fragment");
    pendingBytes_ += data.size();
}

void FragmentMuxer::endFragment()
{
    if (pendingBytes_ == 0)
        return;
    check(av_write_frame(context_->format, nullptr), "Could not end the MP4 fragment");
    avio_flush(context_->output);
    // The muxer passes over what receive() reports.
    check(context_->output->error, "Could not write the MP4 fragment");
    pendingBytes_ = 0;
}

std::vector<std::byte> FragmentMuxer::takeOutput()
{
    return std::exchange(output_, {});
}

} // namespace glimto
