#include "Backends/FFmpeg/FragmentMuxer.h"

#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/intreadwrite.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"

namespace glimto {

namespace {

constexpr int bufferBytes = 64 * 1024;

constexpr const char* makingFailed = "Could not make the MP4 writer";

void describeDecoder(AVCodecParameters& codec, std::span<const std::uint8_t> configuration)
{
    const std::size_t size = configuration.size();
    codec.extradata = static_cast<std::uint8_t*>(
        requireAllocated(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE), makingFailed));
    std::memcpy(codec.extradata, configuration.data(), size);
    codec.extradata_size = static_cast<int>(size);
}

void describeTrack(AVCodecParameters& codec, const VideoSampleDescription& samples)
{
    codec.codec_type = AVMEDIA_TYPE_VIDEO;
    codec.codec_tag = samples.format.size() == 4 ? AV_RL32(samples.format.data()) : 0;
    const AVCodecTag* const known[] = {avformat_get_mov_video_tags(), nullptr};
    codec.codec_id = av_codec_get_id(known, codec.codec_tag);
    codec.width = samples.width;
    codec.height = samples.height;
    describeDecoder(codec, samples.decoderConfiguration);
}

void describeTrack(AVCodecParameters& codec, const AudioTrackDescription& track)
{
    codec.codec_type = AVMEDIA_TYPE_AUDIO;
    codec.codec_id = AV_CODEC_ID_AAC;
    codec.profile = FF_PROFILE_AAC_LOW;
    codec.sample_rate = track.sampleRate;
    codec.frame_size = track.framesPerSample;
    codec.bit_rate = track.averageBitRate;
    av_channel_layout_default(&codec.ch_layout, track.channelCount);
    describeDecoder(codec, track.decoderConfiguration);
}

} // namespace

FragmentMuxer::FragmentMuxer(
    const VideoSampleDescription& samples, std::int32_t timescale, std::int64_t averageBitRate)
{
    AVCodecParameters& codec = *makeStream().codecpar;
    describeTrack(codec, samples);
    codec.bit_rate = averageBitRate;
    writeHeader(timescale);
}

FragmentMuxer::FragmentMuxer(const AudioTrackDescription& track)
{
    describeTrack(*makeStream().codecpar, track);
    writeHeader(track.sampleRate);
}

AVStream& FragmentMuxer::makeStream()
{
    AVFormatContext* format = nullptr;
    requireFFmpeg(avformat_alloc_output_context2(&format, nullptr, "mp4", nullptr), makingFailed);
    format_.reset(format);
    auto* buffer = static_cast<unsigned char*>(requireAllocated(av_malloc(bufferBytes), makingFailed));
    stream_.reset(
        avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, &FragmentMuxer::receive, nullptr));
    if (!stream_)
        av_free(buffer);
    format->pb = requireAllocated(stream_.get(), makingFailed);
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    packet_.reset(requireAllocated(av_packet_alloc(), makingFailed));
    return *requireAllocated(avformat_new_stream(format, nullptr), makingFailed);
}

void FragmentMuxer::writeHeader(std::int32_t timescale)
{
    format_->streams[0]->time_base = {1, timescale};
    AVDictionary* options = nullptr;
    // The caller ends fragments; times count from the track's start and need no edit list.
    av_dict_set(
        &options, "movflags", "frag_custom+empty_moov+default_base_moof+dash+skip_sidx+skip_trailer", 0);
    av_dict_set(&options, "use_editlist", "0", 0);
    av_dict_set_int(&options, "video_track_timescale", timescale, 0); // audio has its sample rate
    const int result = avformat_write_header(format_.get(), &options);
    av_dict_free(&options);
    requireFFmpeg(result, "Could not write the MP4 header");
    avio_flush(stream_.get());
    requireFFmpeg(stream_->error, "Could not write the MP4 header");
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

void FragmentMuxer::addSample(std::span<const std::byte> data, const SampleFacts& facts)
{
    AVPacket& packet = *packet_;
    av_packet_unref(&packet);
    // av_write_frame() only reads the data of a packet without a buffer of its own.
    packet.data = const_cast<std::uint8_t*>(reinterpret_cast<const std::uint8_t*>(data.data()));
    packet.size = static_cast<int>(data.size());
    packet.pts = facts.time;
    packet.dts = facts.decodeTime;
    packet.duration = facts.duration;
    packet.flags = facts.isKeyframe ? AV_PKT_FLAG_KEY : 0;
    requireFFmpeg(av_write_frame(format_.get(), &packet), "Could not write to the MP4 fragment");
    pendingBytes_ += data.size();
}

void FragmentMuxer::endFragment()
{
    if (pendingBytes_ == 0)
        return;
    requireFFmpeg(av_write_frame(format_.get(), nullptr), "Could not end the MP4 fragment");
    avio_flush(stream_.get());
    // The muxer passes over what receive() reports.
    requireFFmpeg(stream_->error, "Could not write the MP4 fragment");
    pendingBytes_ = 0;
}

} // namespace glimto
