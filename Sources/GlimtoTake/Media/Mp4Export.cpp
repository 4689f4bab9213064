#include "GlimtoTake/Media/Mp4Export.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/ContainerWriter.h"
#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/FirstPictures.h"
#include "GlimtoTake/Media/SoundSegments.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not write the file";

PacketHandle makePacket()
{
    PacketHandle packet(av_packet_alloc());
    if (!packet)
        throwOutOfMemory(failure);
    return packet;
}

// The packets of one track within the span, with times that count from the span's start.
class CopiedTrack {
public:
    CopiedTrack(const ExaminedTrack& track, std::size_t firstPiece, std::int64_t origin,
        std::int64_t earliest, std::int64_t end)
        : reader_(*track.files.initializationSegment, track.mediaPieces(firstPiece))
        , origin_(origin)
        , earliest_(earliest)
        , end_(std::min(end, track.pieces.back().content.end))
        , next_(makePacket())
    {
    }

    const AVStream& stream() const { return reader_.stream(); }

    // What comes before the copied packets, which then begin where these end.
    void putFirst(FirstPictures pictures, std::int64_t copiedFrom)
    {
        first_ = std::move(pictures.packets);
        earliest_ = copiedFrom;
    }

    void begin() { advance(); }
    bool isOver() const { return !hasNext_; }

    double nextSeconds() const { return static_cast<double>(next_->dts) / reader_.stream().time_base.den; }

    // The packet; call advance() once it is written.
    AVPacket& next() { return *next_; }

    void advance()
    {
        hasNext_ = false;
        if (!first_.empty()) {
            next_ = std::move(first_.front());
            first_.pop_front();
            if (next_->pts < end_)
                return take();
            first_.clear();
        }
        while (reader_.read(*next_)) {
            if (next_->pts < earliest_)
                continue;
            if (next_->dts >= end_)
                return;
            if (next_->pts < end_)
                return take();
        }
    }

private:
    // The last packet's own duration is what is left; those before it last until the next one.
    void take()
    {
        next_->duration = end_ - next_->pts;
        next_->pts -= origin_;
        next_->dts -= origin_;
        hasNext_ = true;
    }

    TrackReader reader_;
    std::deque<PacketHandle> first_;
    const std::int64_t origin_;
    std::int64_t earliest_;
    const std::int64_t end_;
    PacketHandle next_;
    bool hasNext_ = false;
};

std::int64_t ticks(const ExaminedTrack& track, double seconds)
{
    return static_cast<std::int64_t>(std::llround(seconds * track.facts.timescale));
}

struct CodecParametersDeleter {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
using CodecParametersHandle = std::unique_ptr<AVCodecParameters, CodecParametersDeleter>;

CodecParametersHandle copiedParameters(const AVStream& stream)
{
    CodecParametersHandle parameters(avcodec_parameters_alloc());
    if (!parameters)
        throwOutOfMemory(failure);
    requireFFmpeg(avcodec_parameters_copy(parameters.get(), stream.codecpar), failure);
    return parameters;
}

void setDecoderConfiguration(AVCodecParameters& parameters, const std::vector<std::uint8_t>& bytes)
{
    auto* data = static_cast<std::uint8_t*>(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (!data)
        throwOutOfMemory(failure);
    std::memcpy(data, bytes.data(), bytes.size());
    av_freep(&parameters.extradata);
    parameters.extradata = data;
    parameters.extradata_size = static_cast<int>(bytes.size());
}

// From the keyframe at the span's start, or from pictures that are encoded again up to the next one.
std::unique_ptr<CopiedTrack> videoTrack(
    const ExaminedTrack& video, const TakeSpan& span, CodecParametersHandle& parameters)
{
    const std::int64_t start = ticks(video, span.from);
    const std::size_t first = pieceAt(video, span.from + 0.5 / video.facts.timescale);
    const bool isAtKeyframe = start <= video.pieces[first].content.start;
    const std::size_t copied = isAtKeyframe ? first : first + 1;
    const std::int64_t copiedFrom
        = copied < video.pieces.size() ? video.pieces[copied].content.start : video.pieces.back().content.end;
    auto track = std::make_unique<CopiedTrack>(
        video, std::min(copied, video.pieces.size() - 1), start, copiedFrom, ticks(video, span.to));
    parameters = copiedParameters(track->stream());
    if (!isAtKeyframe) {
        auto pictures = encodeFirstPictures(video, first, start);
        setDecoderConfiguration(*parameters, pictures.decoderConfiguration);
        track->putFirst(std::move(pictures), copiedFrom);
    }
    return track;
}

// One block more than is heard, which the decoder needs to begin with; its time is before the file's zero.
std::unique_ptr<CopiedTrack> audioTrack(
    const ExaminedTrack& audio, const TakeSpan& span, CodecParametersHandle& parameters)
{
    const std::int64_t start = ticks(audio, span.from);
    const std::int64_t earliest = start - 2 * soundBlockTicks + 1;
    const double seconds = std::max(0.0, audio.facts.seconds(earliest));
    auto track = std::make_unique<CopiedTrack>(
        audio, pieceAt(audio, seconds), start, earliest, ticks(audio, span.to));
    parameters = copiedParameters(track->stream());
    parameters->frame_size = static_cast<int>(soundBlockTicks);
    return track;
}

} // namespace

void exportMp4(const TakeExamination& take, const TakeSpan& span, ExportTracks tracks,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    struct Output {
        std::unique_ptr<CopiedTrack> track;
        int index = 0;
    };
    ContainerWriter writer(target, tracks == ExportTracks::audioOnly ? "ipod" : "mp4");
    std::vector<Output> outputs;
    const auto add = [&](std::unique_ptr<CopiedTrack> track, const AVCodecParameters& parameters) {
        const int index = writer.addTrack(parameters, track->stream().time_base);
        track->begin();
        outputs.push_back({std::move(track), index});
    };
    CodecParametersHandle parameters;
    if (tracks != ExportTracks::audioOnly) {
        auto video = videoTrack(take.video, span, parameters);
        add(std::move(video), *parameters);
    }
    if (tracks != ExportTracks::videoOnly && take.audio && !take.audio->pieces.empty()) {
        auto audio = audioTrack(*take.audio, span, parameters);
        add(std::move(audio), *parameters);
    }
    if (outputs.empty())
        throw CLIError("The take has no sound.");
    writer.writeHeader({{"movflags", "+faststart"}});
    while (true) {
        Output* earliest = nullptr;
        for (Output& output : outputs) {
            if (!output.track->isOver()
                && (!earliest || output.track->nextSeconds() < earliest->track->nextSeconds()))
                earliest = &output;
        }
        if (!earliest)
            break;
        progress(earliest->track->nextSeconds() / span.duration());
        writer.write(earliest->track->next(), earliest->index);
        earliest->track->advance();
    }
    writer.finish();
}

} // namespace glimto
