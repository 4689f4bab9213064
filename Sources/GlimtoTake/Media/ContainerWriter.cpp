#include "GlimtoTake/Media/ContainerWriter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not write the file";

// FFmpeg's numbers of system errors are the system's, negated.
int require(int result)
{
    if (result < 0 && result > -4096)
        throw PlatformError::posix(failure, AVUNERROR(result));
    return requireFFmpeg(result, failure);
}

} // namespace

ContainerWriter::ContainerWriter(const std::filesystem::path& path, const std::string& format)
{
    AVFormatContext* context = nullptr;
    require(avformat_alloc_output_context2(&context, nullptr, format.c_str(), path.c_str()));
    format_.reset(context);
    context->flags |= AVFMT_FLAG_BITEXACT; // the same take gives the same file
    const std::string url = "file:" + path.string();
    require(avio_open(&context->pb, url.c_str(), AVIO_FLAG_WRITE));
}

ContainerWriter::~ContainerWriter()
{
    avio_closep(&format_->pb);
}

int ContainerWriter::addTrack(const AVCodecParameters& parameters, AVRational timeBase)
{
    AVStream* stream = avformat_new_stream(format_.get(), nullptr);
    if (!stream)
        throwOutOfMemory(failure);
    require(avcodec_parameters_copy(stream->codecpar, &parameters));
    stream->codecpar->codec_tag = 0;
    stream->time_base = timeBase;
    timeBases_[stream->index] = {timeBase.num, timeBase.den};
    return stream->index;
}

void ContainerWriter::writeHeader(const std::map<std::string, std::string>& options)
{
    AVDictionary* dictionary = nullptr;
    for (const auto& [key, value] : options)
        av_dict_set(&dictionary, key.c_str(), value.c_str(), 0);
    const int result = avformat_write_header(format_.get(), &dictionary);
    av_dict_free(&dictionary);
    require(result);
}

void ContainerWriter::write(AVPacket& packet, int track)
{
    const auto [numerator, denominator] = timeBases_.at(track);
    packet.stream_index = track;
    packet.pos = -1;
    av_packet_rescale_ts(&packet, {numerator, denominator}, format_->streams[track]->time_base);
    require(av_interleaved_write_frame(format_.get(), &packet));
}

void ContainerWriter::finish()
{
    require(av_write_trailer(format_.get()));
    avio_flush(format_->pb);
    require(format_->pb->error);
    require(avio_closep(&format_->pb));
}

} // namespace glimto
