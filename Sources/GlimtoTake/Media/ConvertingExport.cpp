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

#include "GlimtoTake/Media/ContainerWriter.h"
#include "GlimtoTake/Media/FilterChain.h"
#include "GlimtoTake/Media/FrameEncoder.h"
#include "GlimtoTake/Media/PictureSequence.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

using Header = FrameEncoder::Header;

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

// Frames through filters, which are made for the first of them.
class FilteredFrames {
public:
    virtual ~FilteredFrames() = default;
    FilteredFrames(const FilteredFrames&) = delete;
    FilteredFrames& operator=(const FilteredFrames&) = delete;

    AVRational timeBase() const { return timeBase_; }

    // False at the end.
    bool next(AVFrame& frame)
    {
        while (true) {
            if (chain_ && chain_->pull(frame))
                return true;
            if (isOver_)
                return false;
            isOver_ = !decode(*decoded_);
            if (isOver_ && !chain_)
                throw CLIError(nothingDecoded_);
            if (!chain_)
                chain_ = makeChain(*decoded_);
            chain_->push(0, isOver_ ? nullptr : decoded_.get());
        }
    }

protected:
    FilteredFrames(const ExaminedTrack& track, const char* nothingDecoded)
        : timeBase_{1, track.facts.timescale}
        , nothingDecoded_(nothingDecoded)
    {
    }

    virtual bool decode(AVFrame& frame) = 0; // false at the end
    virtual std::unique_ptr<FilterChain> makeChain(const AVFrame& like) = 0;

private:
    const AVRational timeBase_;
    const char* const nothingDecoded_;
    FrameHandle decoded_ = makeFrame();
    std::unique_ptr<FilterChain> chain_;
    bool isOver_ = false;
};

// The pictures of a span through filters: [in] to [out]. Tells how far it has come.
class FilteredPictures final : public FilteredFrames {
public:
    FilteredPictures(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
        std::string description, TakeProgress progress)
        : FilteredFrames(take.video, "No picture of the take can be decoded there.")
        , pictures_(take.video, span, options.framesPerSecond, threadCount())
        , description_(std::move(description))
        , progress_(std::move(progress))
    {
    }

    // A second input, "[palette]".
    void setPalette(FrameHandle palette) { palette_ = std::move(palette); }
    std::int64_t end() const { return pictures_.end(); }

private:
    bool decode(AVFrame& frame) override
    {
        const bool hasFrame = pictures_.next(frame);
        progress_(hasFrame ? static_cast<double>(frame.pts) / static_cast<double>(pictures_.end()) : 1);
        return hasFrame;
    }

    std::unique_ptr<FilterChain> makeChain(const AVFrame& like) override
    {
        std::vector<FilterChain::Input> inputs = {{"in", &like}};
        if (palette_)
            inputs.push_back({"palette", palette_.get()});
        auto chain = std::make_unique<FilterChain>(inputs, timeBase(), description_);
        if (palette_) {
            chain->push(1, palette_.get());
            chain->push(1, nullptr);
        }
        return chain;
    }

    PictureSequence pictures_;
    const std::string description_;
    const TakeProgress progress_;
    FrameHandle palette_;
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
        take, span, options, "[in]" + scaling(options) + ",palettegen=stats_mode=full[out]", progress);
    auto palette = makeFrame();
    if (!pictures.next(*palette))
        throw CLIError("The take's colours could not be collected.");
    return palette;
}

// The sound of a span through filters, from its start on.
class FilteredSound final : public FilteredFrames {
public:
    FilteredSound(const TakeExamination& take, const TakeSpan& span, std::string format, int samplesPerFrame)
        : FilteredFrames(*take.audio, "No sound of the take can be decoded there.")
        , audio_(*take.audio)
        , span_(span)
        , format_(std::move(format))
        , samplesPerFrame_(samplesPerFrame)
        , decoder_(audio_, pieceAt(audio_, std::max(0.0, span.from - 0.1)), 1)
    {
    }

private:
    bool decode(AVFrame& frame) override
    {
        return decoder_.next(frame) && audio_.facts.seconds(frame.pts) <= span_.to;
    }

    std::unique_ptr<FilterChain> makeChain(const AVFrame& like) override
    {
        const auto ticks = [&](double time) { return std::to_string(std::llround(time * timeBase().den)); };
        auto chain = std::make_unique<FilterChain>(std::vector<FilterChain::Input>{{"in", &like}}, timeBase(),
            "[in]aresample=async=1:first_pts=0,atrim=start_pts=" + ticks(span_.from)
                + ":end_pts=" + ticks(span_.to) + ",asetpts=PTS-" + ticks(span_.from)
                + ",aformat=sample_fmts=" + format_ + "[out]");
        chain->setSamplesPerFrame(samplesPerFrame_);
        return chain;
    }

    const ExaminedTrack& audio_;
    const TakeSpan span_;
    const std::string format_;
    const int samplesPerFrame_;
    TrackDecoder decoder_;
};

// A track that is encoded and written as it comes.
class EncodedTrack {
public:
    EncodedTrack(const std::string& encoder, const AVFrame& like, AVRational timeBase,
        const std::map<std::string, std::string>& options, FrameEncoder::Header header,
        ContainerWriter& writer)
        : encoder_(encoder, like, timeBase, options, header)
        , write_([&writer, index = writer.addTrack(encoder_.parameters(), timeBase)](
                     AVPacket& packet) { writer.write(packet, index); })
    {
    }

    void encode(AVFrame& frame) { encoder_.encode(frame, write_); }
    void finish() { encoder_.finish(write_); }

private:
    FrameEncoder encoder_;
    const FrameEncoder::Sink write_;
};

} // namespace

void exportGif(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    // Two passes over the take, so that memory does not grow with its length.
    auto palette = paletteOf(take, span, options, part(progress, 0, 0.4));
    FilteredPictures pictures(take, span, options,
        "[in]" + scaling(options) + "[x];[x][palette]paletteuse=dither=none[out]", part(progress, 0.4, 1));
    pictures.setPalette(std::move(palette));
    const auto frame = makeFrame();
    pictures.next(*frame);
    ContainerWriter writer(target, "gif");
    constexpr AVRational hundredths = {1, 100};
    EncodedTrack track("gif", *frame, hundredths, {}, Header::inPackets, writer);
    std::int64_t lastTime = 0;
    const std::int64_t end = av_rescale_q(pictures.end(), pictures.timeBase(), hundredths);
    // The container holds a picture back until the next one tells how long it lasts; the end is told at once.
    std::int64_t lastPicture = 0;
    {
        PictureSequence ahead(take.video, span, options.framesPerSecond, threadCount());
        const auto each = makeFrame();
        while (ahead.next(*each))
            lastPicture = av_rescale_q(each->pts, pictures.timeBase(), hundredths);
    }
    writer.writeHeader({{"loop", "0"},
        {"final_delay", std::to_string(std::clamp<std::int64_t>(end - lastPicture, 2, 65535))}});
    bool isFirst = true;
    do {
        frame->pts = av_rescale_q(frame->pts, pictures.timeBase(), hundredths);
        if (!isFirst)
            frame->pts = std::max(frame->pts, lastTime + 1);
        isFirst = false;
        lastTime = frame->pts;
        track.encode(*frame);
        av_frame_unref(frame.get());
    } while (pictures.next(*frame));
    track.finish();
    writer.finish();
}

void exportWebP(const TakeExamination& take, const TakeSpan& span, const PictureOptions& options,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    FilteredPictures pictures(take, span, options, "[in]" + scaling(options) + ",format=bgra[out]", progress);
    const auto frame = makeFrame();
    const auto last = makeFrame();
    pictures.next(*frame);
    ContainerWriter writer(target, "webp");
    constexpr AVRational thousandths = {1, 1000};
    EncodedTrack track("libwebp_anim", *frame, thousandths,
        {{"lossless", "0"}, {"quality", "80"}, {"compression_level", "3"}, {"preset", "text"}},
        Header::inPackets, writer);
    writer.writeHeader({{"loop", "0"}});
    do {
        frame->pts = av_rescale_q(frame->pts, pictures.timeBase(), thousandths);
        track.encode(*frame);
        av_frame_unref(last.get());
        av_frame_move_ref(last.get(), frame.get());
    } while (pictures.next(*frame));
    // The last picture is there once more, so that it stands as long as it did.
    const std::int64_t end = av_rescale_q(pictures.end(), pictures.timeBase(), thousandths);
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
    FilteredPictures pictures(
        take, span, options, "[in]" + scaling(options) + ",format=yuv420p[out]", progress);
    const auto picture = makeFrame();
    bool hasPicture = pictures.next(*picture);
    ContainerWriter writer(target, "webm");
    using Options = std::map<std::string, std::string>;
    const Options av1 = {{"preset", "9"}, {"crf", "32"}, {"g", "300"}, {"svtav1-params", "scm=1"}};
    const Options vp9 = {{"deadline", "realtime"}, {"cpu-used", "6"}, {"crf", "30"}, {"b", "0"},
        {"row-mt", "1"}, {"tune-content", "screen"}, {"threads", "4"}, {"g", "300"}};
    constexpr AVRational thousandths = {1, 1000};
    EncodedTrack video(
        isAV1 ? "libsvtav1" : "libvpx-vp9", *picture, thousandths, isAV1 ? av1 : vp9, Header::global, writer);

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
            "libopus", *block, AVRational{1, 48000}, Options{{"b", "96000"}}, Header::global, writer);
    }
    writer.writeHeader({});
    std::int64_t lastTime = -1;
    while (hasPicture || hasBlock) {
        const double pictureTime
            = hasPicture ? static_cast<double>(picture->pts) * av_q2d(pictures.timeBase()) : 1e12;
        const double blockTime = hasBlock ? static_cast<double>(block->pts) / 48000 : 1e12;
        if (pictureTime <= blockTime) {
            picture->pts
                = std::max(av_rescale_q(picture->pts, pictures.timeBase(), thousandths), lastTime + 1);
            lastTime = picture->pts;
            video.encode(*picture);
            av_frame_unref(picture.get());
            hasPicture = pictures.next(*picture);
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
    EncodedTrack track("pcm_s16le", *frame, sound.timeBase(), {}, Header::inPackets, writer);
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
