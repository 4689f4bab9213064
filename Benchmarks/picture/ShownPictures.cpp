#include "picture/ShownPictures.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace glimto {

namespace {

struct Closer {
    void operator()(AVFormatContext* format) const noexcept { avformat_close_input(&format); }
    void operator()(AVCodecContext* codec) const noexcept { avcodec_free_context(&codec); }
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
};

void require(bool holds, const char* what)
{
    if (!holds)
        throw std::runtime_error(what);
}

Luma lumaOf(const AVFrame& frame)
{
    Luma luma = {frame.width, frame.height, {}};
    for (int y = 0; y < frame.height; ++y) {
        const std::uint8_t* row = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
        luma.samples.insert(luma.samples.end(), row, row + frame.width);
    }
    return luma;
}

} // namespace

void readPictures(const std::string& file, const std::function<void(double time, Luma shown)>& receive)
{
    AVFormatContext* opened = nullptr;
    require(avformat_open_input(&opened, file.c_str(), nullptr, nullptr) == 0, "the file cannot be read");
    const std::unique_ptr<AVFormatContext, Closer> format(opened);
    require(avformat_find_stream_info(format.get(), nullptr) >= 0 && format->nb_streams == 1,
        "one track expected");
    const AVStream& stream = *format->streams[0];
    const std::unique_ptr<AVCodecContext, Closer> codec(
        avcodec_alloc_context3(avcodec_find_decoder(stream.codecpar->codec_id)));
    avcodec_parameters_to_context(codec.get(), stream.codecpar);
    codec->err_recognition = AV_EF_EXPLODE;
    codec->thread_count = 1;
    require(avcodec_open2(codec.get(), nullptr, nullptr) == 0, "there is no decoder");

    const std::unique_ptr<AVFrame, Closer> frame(av_frame_alloc());
    const std::unique_ptr<AVPacket, Closer> packet(av_packet_alloc());
    const auto receiveFrames = [&] {
        while (avcodec_receive_frame(codec.get(), frame.get()) == 0)
            receive(static_cast<double>(frame->pts) * av_q2d(stream.time_base), lumaOf(*frame));
    };
    while (av_read_frame(format.get(), packet.get()) >= 0) {
        require(avcodec_send_packet(codec.get(), packet.get()) == 0, "a picture cannot be decoded");
        av_packet_unref(packet.get());
        receiveFrames();
    }
    avcodec_send_packet(codec.get(), nullptr);
    receiveFrames();
}

void readShownPictures(const std::string& file, int pictureCount, int picturesPerSecond,
    const std::function<void(int number, const Luma& shown)>& receive)
{
    Luma shown;
    int next = 0;
    readPictures(file, [&](double time, Luma picture) {
        const auto number = static_cast<int>(std::lround(time * picturesPerSecond));
        for (; next < std::min(number, pictureCount) && !shown.samples.empty(); ++next)
            receive(next, shown);
        shown = std::move(picture);
    });
    require(!shown.samples.empty(), "the file has no picture");
    for (; next < pictureCount; ++next)
        receive(next, shown);
}

} // namespace glimto
