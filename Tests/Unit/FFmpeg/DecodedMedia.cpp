#include "Unit/FFmpeg/DecodedMedia.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace glimto {

namespace {

void require(bool holds, const char* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

struct Source {
    std::span<const std::byte> rest;
};

int readSource(void* opaque, std::uint8_t* buffer, int size)
{
    auto& source = *static_cast<Source*>(opaque);
    const std::size_t count = std::min(source.rest.size(), static_cast<std::size_t>(size));
    if (count == 0)
        return AVERROR_EOF;
    std::memcpy(buffer, source.rest.data(), count);
    source.rest = source.rest.subspan(count);
    return static_cast<int>(count);
}

struct Decoder {
    explicit Decoder(std::span<const std::byte> data)
        : source{data}
    {
        constexpr int bufferSize = 32768;
        io = avio_alloc_context(static_cast<unsigned char*>(av_malloc(bufferSize)), bufferSize, 0, &source,
            &readSource, nullptr, nullptr);
        format = avformat_alloc_context();
        format->pb = io;
        require(avformat_open_input(&format, nullptr, nullptr, nullptr) == 0, "not an MP4");
        require(format->nb_streams == 1, "one track expected");
        const AVCodecParameters* parameters = format->streams[0]->codecpar;
        codec = avcodec_alloc_context3(avcodec_find_decoder(parameters->codec_id));
        avcodec_parameters_to_context(codec, parameters);
        codec->err_recognition = AV_EF_EXPLODE;
        require(avcodec_open2(codec, nullptr, nullptr) == 0, "no decoder");
    }

    ~Decoder()
    {
        avcodec_free_context(&codec);
        avformat_close_input(&format);
        av_freep(&io->buffer);
        avio_context_free(&io);
    }

    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    void takePictures(DecodedMedia& media) const
    {
        AVFrame* frame = av_frame_alloc();
        while (avcodec_receive_frame(codec, frame) == 0) {
            media.pictures.push_back({frame->pts, frame->key_frame != 0, frame->data[0][0], {}});
            DecodedPicture& picture = media.pictures.back();
            for (int y = 0; y < frame->height; ++y) {
                const std::uint8_t* row
                    = frame->data[0] + static_cast<std::ptrdiff_t>(y) * frame->linesize[0];
                picture.luma.insert(picture.luma.end(), row, row + frame->width);
            }
            media.width = frame->width;
            media.height = frame->height;
        }
        av_frame_free(&frame);
    }

    void takeSound(DecodedSound& sound) const
    {
        AVFrame* frame = av_frame_alloc();
        while (avcodec_receive_frame(codec, frame) == 0) {
            require(frame->format == AV_SAMPLE_FMT_FLTP, "another sample format");
            if (sound.channels.empty()) {
                sound.start = frame->pts;
                sound.channels.resize(static_cast<std::size_t>(frame->ch_layout.nb_channels));
            }
            const auto end = sound.start + static_cast<std::int64_t>(sound.channels.front().size());
            require(frame->pts == end, "a gap or overlap in the time stamps");
            for (std::size_t channel = 0; channel < sound.channels.size(); ++channel) {
                const auto* samples = reinterpret_cast<const float*>(frame->extended_data[channel]);
                sound.channels[channel].insert(
                    sound.channels[channel].end(), samples, samples + frame->nb_samples);
            }
        }
        av_frame_free(&frame);
    }

    // Decodes all; `take` takes what has come out so far.
    template <typename Take> void run(Take take) const
    {
        AVPacket* packet = av_packet_alloc();
        const std::unique_ptr<AVPacket, void (*)(AVPacket*)> owner(
            packet, [](AVPacket* owned) { av_packet_free(&owned); });
        while (av_read_frame(format, packet) == 0) {
            require(avcodec_send_packet(codec, packet) == 0, "a packet does not decode");
            take();
            av_packet_unref(packet);
        }
        avcodec_send_packet(codec, nullptr);
        take();
    }

    Source source;
    AVIOContext* io = nullptr;
    AVFormatContext* format = nullptr;
    AVCodecContext* codec = nullptr;
};

} // namespace

DecodedMedia decodeMedia(std::span<const std::byte> data)
{
    Decoder decoder(data);
    DecodedMedia media;
    decoder.run([&] { decoder.takePictures(media); });
    media.profile = decoder.codec->profile;
    media.duration = decoder.format->streams[0]->duration;
    return media;
}

DecodedSound decodeSound(std::span<const std::byte> data)
{
    Decoder decoder(data);
    DecodedSound sound;
    decoder.run([&] { decoder.takeSound(sound); });
    sound.sampleRate = decoder.codec->sample_rate;
    sound.profile = decoder.codec->profile;
    sound.duration = decoder.format->streams[0]->duration;
    return sound;
}

} // namespace glimto
