#include "GlimtoTake/Media/SoundSegments.h"

#include <algorithm>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/FrameEncoder.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/AtomicFile.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not write the sound";

// One fragment for the middle of a track, in memory.
class FragmentInMemory {
public:
    explicit FragmentInMemory(const AVStream& like)
    {
        AVFormatContext* format = nullptr;
        requireFFmpeg(avformat_alloc_output_context2(&format, nullptr, "mp4", nullptr), failure);
        format_.reset(format);
        AVStream* stream = avformat_new_stream(format, nullptr);
        if (!stream)
            throwOutOfMemory(failure);
        requireFFmpeg(avcodec_parameters_copy(stream->codecpar, like.codecpar), failure);
        stream->codecpar->codec_tag = 0;
        stream->codecpar->frame_size = static_cast<int>(soundBlockTicks);
        av_channel_layout_default(&stream->codecpar->ch_layout, like.codecpar->ch_layout.nb_channels);
        stream->time_base = like.time_base;
        format->avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
        // The header goes into a buffer of its own, which is thrown away.
        requireFFmpeg(avio_open_dyn_buf(&format->pb), failure);
        AVDictionary* options = nullptr;
        av_dict_set(&options, "movflags",
            "frag_custom+empty_moov+default_base_moof+dash+skip_sidx+skip_trailer+frag_discont", 0);
        av_dict_set(&options, "use_editlist", "0", 0);
        const int result = avformat_write_header(format, &options);
        av_dict_free(&options);
        takeBuffer();
        requireFFmpeg(result, failure);
    }
    ~FragmentInMemory() { takeBuffer(); }
    FragmentInMemory(const FragmentInMemory&) = delete;
    FragmentInMemory& operator=(const FragmentInMemory&) = delete;

    void add(AVPacket& packet)
    {
        if (!format_->pb)
            requireFFmpeg(avio_open_dyn_buf(&format_->pb), failure);
        packet.stream_index = 0;
        packet.flags |= AV_PKT_FLAG_KEY;
        requireFFmpeg(av_write_frame(format_.get(), &packet), failure);
    }

    std::vector<std::byte> finish()
    {
        requireFFmpeg(av_write_frame(format_.get(), nullptr), failure);
        return takeBuffer();
    }

private:
    std::vector<std::byte> takeBuffer()
    {
        if (!format_->pb)
            return {};
        std::uint8_t* bytes = nullptr;
        const int size = avio_close_dyn_buf(format_->pb, &bytes);
        format_->pb = nullptr;
        const auto* first = reinterpret_cast<const std::byte*>(bytes);
        std::vector<std::byte> result(first, first + size);
        av_free(bytes);
        return result;
    }

    FormatContextHandle format_;
};

// A block of silence in the middle of silence, as the encoder of recordings makes it.
PacketHandle silentBlock(const AVCodecParameters& parameters)
{
    const FrameHandle frame = makeFrame();
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->nb_samples = static_cast<int>(soundBlockTicks);
    frame->sample_rate = parameters.sample_rate;
    av_channel_layout_default(&frame->ch_layout, parameters.ch_layout.nb_channels);
    requireFFmpeg(av_frame_get_buffer(frame.get(), 0), failure);
    for (int channel = 0; channel < frame->ch_layout.nb_channels; ++channel)
        std::fill_n(reinterpret_cast<float*>(frame->extended_data[channel]), frame->nb_samples, 0.0F);
    FrameEncoder encoder("aac", *frame, {1, parameters.sample_rate}, {}, FrameEncoder::Header::global);
    auto packet = makePacket();
    constexpr int blocksUntilSettled = 4;
    int count = 0;
    for (frame->pts = 0; count < blocksUntilSettled; frame->pts += frame->nb_samples) {
        // The encoder is one block behind at first.
        encoder.encode(*frame, [&](AVPacket& block) {
            av_packet_unref(packet.get());
            av_packet_move_ref(packet.get(), &block);
            ++count;
        });
    }
    return packet;
}

} // namespace

void writeSoundBefore(const std::filesystem::path& initializationSegment, const MediaPiece& piece,
    std::int64_t end, const std::filesystem::path& target)
{
    TrackReader reader(initializationSegment, {piece});
    FragmentInMemory fragment(reader.stream());
    const auto packet = makePacket();
    while (reader.read(*packet)) {
        if (packet->pts >= end)
            break;
        packet->duration = std::min(packet->duration, end - packet->pts);
        fragment.add(*packet);
    }
    writeFileAtomically(FileBelow::of(target), fragment.finish());
}

void writeSilence(const std::filesystem::path& initializationSegment, std::int64_t start, std::int64_t end,
    const std::filesystem::path& target)
{
    const TrackReader reader(initializationSegment, {});
    FragmentInMemory fragment(reader.stream());
    const auto silence = silentBlock(*reader.stream().codecpar);
    const auto packet = makePacket();
    for (std::int64_t time = start; time < end; time += soundBlockTicks) {
        requireFFmpeg(av_packet_ref(packet.get(), silence.get()), failure);
        packet->pts = packet->dts = time;
        packet->duration = std::min(soundBlockTicks, end - time);
        fragment.add(*packet);
        av_packet_unref(packet.get());
    }
    writeFileAtomically(FileBelow::of(target), fragment.finish());
}

} // namespace glimto
