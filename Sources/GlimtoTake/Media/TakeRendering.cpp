#include "GlimtoTake/Media/TakeRendering.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>

#include <libyuv.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/ContainerWriter.h"
#include "GlimtoTake/Media/CopiedTrack.h"
#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/FrameEncoder.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

constexpr const char* failure = "Could not render the take";
constexpr AVRational frameTimeBase = {1, 90'000};
constexpr double early = 0.25; // of a frame: stamps of pictures lie a little around the even grid

// A decoded picture as Cairo wants it.
PixelBuffer convertedPicture(const AVFrame& frame, int width, int height)
{
    if (frame.format != AV_PIX_FMT_YUV420P)
        return pixelsOf(frame, width, height);
    const PixelCanvas canvas = makeCanvasFor(frame);
    const auto convert = frame.colorspace == AVCOL_SPC_BT709 ? libyuv::H420ToARGB : libyuv::I420ToARGB;
    convert(frame.data[0], frame.linesize[0], frame.data[1], frame.linesize[1], frame.data[2],
        frame.linesize[2], canvas.bytes, static_cast<int>(canvas.bytesPerRow), frame.width, frame.height);
    return canvas.part({0, 0, std::min(width, frame.width), std::min(height, frame.height)});
}

// The picture of the take that is seen at each moment.
class SeenPictures {
public:
    SeenPictures(const TakeExamination& take, const TakeSpan& span)
        : video_(take.video)
        , decoder_(take.video, pieceAt(take.video, span.from),
              std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4))
        , ahead_(makeFrame())
        , seen_(makeFrame())
    {
        std::tie(width_, height_) = take.pictureSize();
        hasAhead_ = decoder_.next(*ahead_);
        if (!hasAhead_)
            throw CLIError("No picture of the take can be decoded there.");
    }

    // Absent while the last one stands.
    std::optional<PixelBuffer> at(double seconds)
    {
        bool isNew = false;
        while (hasAhead_ && (isFirst_ || video_.facts.seconds(ahead_->pts) <= seconds)) {
            std::swap(seen_, ahead_);
            hasAhead_ = decoder_.next(*ahead_);
            isNew = true;
            isFirst_ = false;
        }
        return isNew ? std::optional(convertedPicture(*seen_, width_, height_)) : std::nullopt;
    }

private:
    const ExaminedTrack& video_;
    TrackDecoder decoder_;
    FrameHandle ahead_;
    FrameHandle seen_;
    int width_ = 0;
    int height_ = 0;
    bool hasAhead_ = false;
    bool isFirst_ = true;
};

// The canvas in the encoder's colours. Only what changed is converted.
class EncodedCanvas {
public:
    explicit EncodedCanvas(const CanvasLayout& layout)
        : frame_(makeFrame())
    {
        frame_->format = AV_PIX_FMT_YUV420P;
        frame_->width = layout.width;
        frame_->height = layout.height;
        frame_->color_range = AVCOL_RANGE_MPEG;
        frame_->color_primaries = AVCOL_PRI_BT709;
        frame_->color_trc = AVCOL_TRC_IEC61966_2_1;
        frame_->colorspace = AVCOL_SPC_SMPTE170M;
        requireFFmpeg(av_frame_get_buffer(frame_.get(), 0), failure);
    }

    AVFrame& frame() { return *frame_; }

    void update(const Compositor& compositor, const PixelRect& rect)
    {
        requireFFmpeg(av_frame_make_writable(frame_.get()), failure);
        const int bytesPerRow = compositor.bytesPerRow();
        const auto* from
            = compositor.bytes() + static_cast<std::ptrdiff_t>(rect.y) * bytesPerRow + rect.x * 4;
        const auto to = [&](int plane, int divisor) {
            return frame_->data[plane]
                + static_cast<std::ptrdiff_t>(rect.y / divisor) * frame_->linesize[plane] + rect.x / divisor;
        };
        libyuv::ARGBToI420(from, bytesPerRow, to(0, 1), frame_->linesize[0], to(1, 2), frame_->linesize[1],
            to(2, 2), frame_->linesize[2], rect.width, rect.height);
    }

private:
    FrameHandle frame_;
};

class Rendering {
public:
    Rendering(const TakeExamination& take, const TakeSpan& span, const RenderPlan& plan,
        const std::filesystem::path& target)
        : span_(span)
        , plan_(plan)
        , camera_(plan.zooms)
        , pointer_(plan.events)
        , pictures_(take, span)
        , compositor_(plan.layout)
        , canvas_(plan.layout)
        , encoder_("libx264", canvas_.frame(), frameTimeBase,
              {{"preset", "veryfast"}, {"crf", "19"}, {"bf", "0"}, {"g", "300"}, {"refs", "1"}, {"subq", "1"},
                  {"threads", "4"}},
              FrameEncoder::Header::global)
        , writer_(target, "mp4")
        , videoIndex_(writer_.addTrack(encoder_.parameters(), frameTimeBase))
        , end_(std::llround(span.duration() * frameTimeBase.den))
    {
        if (take.audio && !take.audio->pieces.empty()) {
            audio_ = CopiedTrack::ofSound(*take.audio, span);
            audioIndex_ = writer_.addTrack(audio_->parameters(), audio_->stream().time_base);
            audio_->begin();
        }
        writer_.writeHeader({{"movflags", "+faststart"}});
    }

    void run(const TakeProgress& progress)
    {
        const double interval = 1 / plan_.framesPerSecond;
        const auto count = static_cast<std::int64_t>(std::ceil(span_.duration() / interval - early));
        for (std::int64_t index = 0; index < std::max<std::int64_t>(count, 1); ++index) {
            const double time = static_cast<double>(index) * interval;
            const double taken = span_.from + time;
            const auto changed = compositor_.draw(pictures_.at(taken + interval * early), stateAt(taken));
            if (changed)
                canvas_.update(compositor_, *changed);
            // Many readers take a track to end with its last frame's time.
            if (changed || index + 1 == count)
                encode(std::llround(time * frameTimeBase.den));
            writeSoundBefore(time);
            progress(time / span_.duration());
        }
        encoder_.finish([this](AVPacket& packet) { write(packet); });
        writeSoundBefore(span_.duration() + 1);
        writer_.finish();
    }

private:
    // Only what is seen of it: places to a sixteenth of a pixel.
    FrameState stateAt(double seconds) const
    {
        FrameState state = {camera_.at(seconds), pointer_.at(seconds)};
        constexpr double steps = 16;
        const double width = plan_.layout.width * steps;
        const double height = plan_.layout.height * steps;
        state.pointer.x = std::round(state.pointer.x * width) / width;
        state.pointer.y = std::round(state.pointer.y * height) / height;
        return state;
    }

    void encode(std::int64_t time)
    {
        AVFrame& frame = canvas_.frame();
        frame.pts = time;
        frame.pict_type = AV_PICTURE_TYPE_NONE;
        encoder_.encode(frame, [this](AVPacket& packet) { write(packet); });
    }

    void write(AVPacket& packet)
    {
        packet.duration = end_ - packet.pts; // of the last one; each before it lasts until the next
        writer_.write(packet, videoIndex_);
    }

    void writeSoundBefore(double seconds)
    {
        while (audio_ && !audio_->isOver() && audio_->nextSeconds() <= seconds) {
            writer_.write(audio_->next(), audioIndex_);
            audio_->advance();
        }
    }

    const TakeSpan span_;
    const RenderPlan& plan_;
    const CameraPath camera_;
    const PointerPath pointer_;
    SeenPictures pictures_;
    Compositor compositor_;
    EncodedCanvas canvas_;
    FrameEncoder encoder_;
    ContainerWriter writer_;
    const int videoIndex_;
    const std::int64_t end_;
    std::unique_ptr<CopiedTrack> audio_;
    int audioIndex_ = 0;
};

} // namespace

void renderTake(const TakeExamination& take, const TakeSpan& span, const RenderPlan& plan,
    const std::filesystem::path& target, const TakeProgress& progress)
{
    Rendering(take, span, plan, target).run(progress);
}

} // namespace glimto
