#include "GlimtoTake/Media/ConvertingExport.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/ContainerWriter.h"
#include "GlimtoTake/Media/FilterChain.h"
#include "GlimtoTake/Media/FrameEncoder.h"
#include "GlimtoTake/Media/PictureSequence.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not convert the take";

FrameHandle makeFrame()
{
    FrameHandle frame(av_frame_alloc());
    if (!frame)
        throwOutOfMemory(failure);
    return frame;
}

int threadCount()
{
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 8);
}

// Even sides, as pictures with fewer colour than light samples need them.
std::string scaling(const PictureOptions& options)
{
    if (options.width <= 0)
        return "null";
    return "scale=" + std::to_string(options.width) + ":-2:flags=lanczos";
}

// The pictures of a span through filters: [in] to [out].
class FilteredPictures {
public:
    FilteredPictures(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
        std::string description)
        : pictures_(take.video, span, options.framesPerSecond, threadCount())
        , timeBase_{1, take.video.facts.timescale}
        , description_(std::move(description))
        , decoded_(makeFrame())
    {
    }

    // A second input, "[palette]".
    void setPalette(FrameHandle palette) { palette_ = std::move(palette); }

    AVRational timeBase() const { return timeBase_; }
    std::int64_t end() const { return pictures_.end(); }

    // False at the end. Tells how far it has come.
    bool next(AVFrame& frame, const TakeProgress& progress)
    {
        while (true) {
            if (chain_ && chain_->pull(frame))
                return true;
            if (isOver_)
                return false;
            isOver_ = !pictures_.next(*decoded_);
            if (isOver_ && !chain_)
                throw CLIError("No picture of the take can be decoded there.");
            if (!chain_)
                open();
            progress(isOver_ ? 1 : static_cast<double>(decoded_->pts) / static_cast<double>(pictures_.end()));
            chain_->push(0, isOver_ ? nullptr : decoded_.get());
        }
    }

private:
    void open()
    {
        std::vector<FilterChain::Input> inputs = {{"in", decoded_.get()}};
        if (palette_)
            inputs.push_back({"palette", palette_.get()});
        chain_ = std::make_unique<FilterChain>(inputs, timeBase_, description_);
        if (palette_) {
            chain_->push(1, palette_.get());
            chain_->push(1, nullptr);
        }
    }

    PictureSequence pictures_;
    const AVRational timeBase_;
    const std::string description_;
    FrameHandle decoded_;
    FrameHandle palette_;
    std::unique_ptr<FilterChain> chain_;
    bool isOver_ = false;
};

// A part of a longer piece of work.
TakeProgress part(const TakeProgress& progress, double from, double to)
{
    return [&progress, from, to](double done) { progress(from + (to - from) * done); };
}

FrameHandle paletteOf(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const TakeProgress& progress)
{
    FilteredPictures pictures(
        take, span, options, "[in]" + scaling(options) + ",palettegen=stats_mode=full[out]");
    auto palette = makeFrame();
    if (!pictures.next(*palette, progress))
        throw CLIError("The take's colours could not be collected.");
    return palette;
}

// The sound of a span through filters, from its start on.
class FilteredSound {
public:
    FilteredSound(
        const TakeExamination& take, const TakeSpan& span, const std::string& format, int samplesPerFrame)
        : audio_(*take.audio)
        , span_(span)
        , format_(format)
        , samplesPerFrame_(samplesPerFrame)
        , decoder_(audio_, pieceAt(audio_, std::max(0.0, span.from - 0.1)), 1)
        , decoded_(makeFrame())
    {
    }

    AVRational timeBase() const { return {1, audio_.facts.timescale}; }

    bool next(AVFrame& frame)
    {
        while (true) {
            if (chain_ && chain_->pull(frame))
                return true;
            if (isOver_)
                return false;
            isOver_ = !decoder_.next(*decoded_) || audio_.facts.seconds(decoded_->pts) > span_.to;
            if (isOver_ && !chain_)
                throw CLIError("No sound of the take can be decoded there.");
            if (!chain_)
                open();
            chain_->push(0, isOver_ ? nullptr : decoded_.get());
        }
    }

private:
    void open()
    {
        const std::int64_t first = std::llround(span_.from * audio_.facts.timescale);
        const std::int64_t end = std::llround(span_.to * audio_.facts.timescale);
        chain_ = std::make_unique<FilterChain>(std::vector<FilterChain::Input>{{"in", decoded_.get()}},
            timeBase(),
            "[in]aresample=async=1:first_pts=" + std::to_string(0)
                + ",atrim=start_pts=" + std::to_string(first) + ":end_pts=" + std::to_string(end)
                + ",asetpts=PTS-" + std::to_string(first) + ",aformat=sample_fmts=" + format_ + "[out]");
        chain_->setSamplesPerFrame(samplesPerFrame_);
    }

    const ExaminedTrack& audio_;
    const TakeSpan span_;
    const std::string format_;
    const int samplesPerFrame_;
    TrackDecoder decoder_;
    FrameHandle decoded_;
    std::unique_ptr<FilterChain> chain_;
    bool isOver_ = false;
};

// A track that is encoded and written as it comes.
class EncodedTrack {
public:
    EncodedTrack(const std::string& encoder, const AVFrame& like, AVRational timeBase,
        const std::map<std::string, std::string>& options, bool hasGlobalHeader, ContainerWriter& writer)
        : encoder_(encoder, like, timeBase, options, hasGlobalHeader)
        , timeBase_(timeBase)
        , writer_(writer)
        , index_(writer.addTrack(encoder_.parameters(), timeBase))
    {
    }

    void encode(AVFrame& frame)
    {
        lastTime_ = frame.pts;
        encoder_.encode(frame, [this](AVPacket& packet) { writer_.write(packet, index_); });
    }

    void finish()
    {
        encoder_.finish([this](AVPacket& packet) { writer_.write(packet, index_); });
    }

    double seconds() const { return static_cast<double>(lastTime_) * av_q2d(timeBase_); }
    const AVCodecContext& context() const { return encoder_.context(); }

private:
    FrameEncoder encoder_;
    const AVRational timeBase_;
    ContainerWriter& writer_;
    const int index_;
    std::int64_t lastTime_ = 0;
};

std::int64_t rescaled(std::int64_t value, AVRational from, AVRational to)
{
    return av_rescale_q(value, from, to);
}

} // namespace

void exportGif(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    // Two passes over the take, so that memory does not grow with its length.
    auto palette = paletteOf(take, span, options, part(progress, 0, 0.4));
    FilteredPictures pictures(
        take, span, options, "[in]" + scaling(options) + "[x];[x][palette]paletteuse=dither=none[out]");
    pictures.setPalette(std::move(palette));
    const auto frame = makeFrame();
    const auto encoding = part(progress, 0.4, 1);
    pictures.next(*frame, encoding);
    ContainerWriter writer(target, "gif");
    constexpr AVRational hundredths = {1, 100};
    EncodedTrack track("gif", *frame, hundredths, {}, false, writer);
    std::int64_t lastTime = 0;
    const std::int64_t end = rescaled(pictures.end(), pictures.timeBase(), hundredths);
    // The container holds a picture back until the next one tells how long it lasts; the end is told at once.
    std::int64_t lastPicture = 0;
    {
        PictureSequence ahead(take.video, span, options.framesPerSecond, threadCount());
        const auto each = makeFrame();
        while (ahead.next(*each))
            lastPicture = rescaled(each->pts, pictures.timeBase(), hundredths);
    }
    writer.writeHeader({{"loop", "0"},
        {"final_delay", std::to_string(std::clamp<std::int64_t>(end - lastPicture, 2, 65535))}});
    bool isFirst = true;
    do {
        frame->pts = rescaled(frame->pts, pictures.timeBase(), hundredths);
        if (!isFirst)
            frame->pts = std::max(frame->pts, lastTime + 1);
        isFirst = false;
        lastTime = frame->pts;
        track.encode(*frame);
        av_frame_unref(frame.get());
    } while (pictures.next(*frame, encoding));
    track.finish();
    writer.finish();
}

void exportWebP(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    FilteredPictures pictures(take, span, options, "[in]" + scaling(options) + ",format=bgra[out]");
    const auto frame = makeFrame();
    const auto last = makeFrame();
    pictures.next(*frame, progress);
    ContainerWriter writer(target, "webp");
    constexpr AVRational thousandths = {1, 1000};
    EncodedTrack track("libwebp_anim", *frame, thousandths,
        {{"lossless", "0"}, {"quality", "80"}, {"compression_level", "3"}, {"preset", "text"}}, false,
        writer);
    writer.writeHeader({{"loop", "0"}});
    do {
        frame->pts = rescaled(frame->pts, pictures.timeBase(), thousandths);
        track.encode(*frame);
        av_frame_unref(last.get());
        av_frame_move_ref(last.get(), frame.get());
    } while (pictures.next(*frame, progress));
    // The last picture is there once more, so that it stands as long as it did.
    const std::int64_t end = rescaled(pictures.end(), pictures.timeBase(), thousandths);
    constexpr std::int64_t closing = 33;
    if (last->pts + 2 * closing < end) {
        last->pts = end - closing;
        track.encode(*last);
    }
    track.finish();
    writer.finish();
}

void exportWebM(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    WebMCodec codec, ExportTracks tracks, const std::filesystem::path& target, const TakeProgress& progress)
{
    const bool isAV1 = codec == WebMCodec::av1 && FrameEncoder::exists("libsvtav1");
    FilteredPictures pictures(take, span, options, "[in]" + scaling(options) + ",format=yuv420p[out]");
    const auto picture = makeFrame();
    bool hasPicture = pictures.next(*picture, progress);
    ContainerWriter writer(target, "webm");
    using Options = std::map<std::string, std::string>;
    const Options av1 = {{"preset", "9"}, {"crf", "32"}, {"g", "300"}, {"svtav1-params", "scm=1"}};
    const Options vp9 = {{"deadline", "realtime"}, {"cpu-used", "6"}, {"crf", "30"}, {"b", "0"},
        {"row-mt", "1"}, {"tune-content", "screen"}, {"threads", "4"}, {"g", "300"}};
    constexpr AVRational thousandths = {1, 1000};
    EncodedTrack video(
        isAV1 ? "libsvtav1" : "libvpx-vp9", *picture, thousandths, isAV1 ? av1 : vp9, true, writer);

    const bool hasSound = tracks == ExportTracks::all && take.audio && !take.audio->pieces.empty();
    std::unique_ptr<FilteredSound> sound;
    std::unique_ptr<EncodedTrack> audio;
    const auto block = makeFrame();
    bool hasBlock = false;
    if (hasSound) {
        constexpr int opusBlock = 960; // samples, 20 ms
        sound = std::make_unique<FilteredSound>(
            take, span, "flt:sample_rates=48000:channel_layouts=stereo", opusBlock);
        hasBlock = sound->next(*block);
        audio = std::make_unique<EncodedTrack>(
            "libopus", *block, AVRational{1, 48000}, Options{{"b", "96000"}}, true, writer);
    }
    writer.writeHeader({});
    std::int64_t lastTime = -1;
    while (hasPicture || hasBlock) {
        const double pictureTime
            = hasPicture ? static_cast<double>(picture->pts) * av_q2d(pictures.timeBase()) : 1e12;
        const double blockTime = hasBlock ? static_cast<double>(block->pts) / 48000 : 1e12;
        if (pictureTime <= blockTime) {
            picture->pts = std::max(rescaled(picture->pts, pictures.timeBase(), thousandths), lastTime + 1);
            lastTime = picture->pts;
            video.encode(*picture);
            av_frame_unref(picture.get());
            hasPicture = pictures.next(*picture, progress);
        } else {
            audio->encode(*block);
            av_frame_unref(block.get());
            hasBlock = sound->next(*block);
        }
    }
    video.finish();
    if (audio)
        audio->finish();
    writer.finish();
}

void exportWav(const TakeExamination& take, const TakeSpan& span, const std::filesystem::path& target,
    const TakeProgress& progress)
{
    if (!take.audio || take.audio->pieces.empty())
        throw CLIError("The take has no sound.");
    constexpr int samplesPerFrame = 4096;
    FilteredSound sound(take, span, "s16", samplesPerFrame);
    const auto frame = makeFrame();
    bool hasFrame = sound.next(*frame);
    ContainerWriter writer(target, "wav");
    EncodedTrack track("pcm_s16le", *frame, sound.timeBase(), {}, false, writer);
    writer.writeHeader({});
    while (hasFrame) {
        progress(static_cast<double>(frame->pts) * av_q2d(sound.timeBase()) / span.duration());
        track.encode(*frame);
        av_frame_unref(frame.get());
        hasFrame = sound.next(*frame);
    }
    track.finish();
    writer.finish();
}

} // namespace glimto
