#include "GlimtoTake/Media/TrackReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "Backends/FFmpeg/FFmpegErrors.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "Support/Errors.h"
#include "Support/RegularFile.h"
#include "Support/Text.h"

namespace glimto {

namespace {

constexpr int bufferBytes = 256 * 1024;

} // namespace

void silenceMediaLibraries()
{
    av_log_set_level(AV_LOG_QUIET);
    ::setenv("SVT_LOG", "0", 0); // SVT-AV1 has a log of its own
}

// The files one behind the other, and the demuxer that reads them.
class TrackReader::Input {
public:
    explicit Input(std::vector<MediaPiece> pieces)
        : pieces_(std::move(pieces))
    {
        std::uint64_t end = 0;
        for (const MediaPiece& piece : pieces_) {
            end += piece.bytes;
            ends_.push_back(end);
        }
        auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
        stream_.reset(buffer
                ? avio_alloc_context(buffer, bufferBytes, 0, this, &Input::readBytes, nullptr, nullptr)
                : nullptr);
        if (!stream_)
            throwOutOfMemory("Could not read the take");
        stream_->seekable = 0;
        open();
    }

    AVFormatContext& format() { return *format_; }

    // Which file holds the byte, the initialization segment being 0.
    std::size_t fileAt(std::int64_t position) const
    {
        const auto at = std::upper_bound(ends_.begin(), ends_.end(), static_cast<std::uint64_t>(position));
        return std::min(static_cast<std::size_t>(at - ends_.begin()), ends_.size() - 1);
    }

    // What reading has failed with, of the system and not of the format.
    int errorNumber() const { return errorNumber_; }

    const std::filesystem::path& pathOf(std::size_t file) const
    {
        return pieces_[std::min(file, pieces_.size() - 1)].path;
    }

private:
    void open()
    {
        AVFormatContext* format = avformat_alloc_context();
        if (!format)
            throwOutOfMemory("Could not read the take");
        format->pb = stream_.get();
        format->flags |= AVFMT_FLAG_CUSTOM_IO;
        // On failure the context is freed, and the pointer cleared.
        const int result = avformat_open_input(&format, "", av_find_input_format("mov"), nullptr);
        format_.reset(format);
        if (errorNumber_ != 0)
            throw PlatformError::posix("Could not read " + pieces_.front().path.string(), errorNumber_);
        if (result < 0 || format->nb_streams != 1 || format->streams[0]->time_base.num != 1)
            throw CLIError(
                singleLine(pieces_.front().path.string()) + " is no initialization segment of one track.");
    }

    static int readBytes(void* opaque, std::uint8_t* bytes, int count)
    {
        return static_cast<Input*>(opaque)->readNext(bytes, count);
    }

    int readNext(std::uint8_t* bytes, int count)
    {
        const std::span<std::byte> target(
            reinterpret_cast<std::byte*>(bytes), static_cast<std::size_t>(count));
        try {
            for (; at_ < pieces_.size(); ++at_, offset_ = 0, file_.reset()) {
                if (!file_)
                    file_ = RegularFile::open(FileBelow::of(pieces_[at_].path));
                const std::uint64_t left
                    = std::min<std::uint64_t>(pieces_[at_].bytes - offset_, target.size());
                if (const auto got = file_->read(target.first(static_cast<std::size_t>(left))); got > 0) {
                    offset_ += got;
                    return static_cast<int>(got);
                }
            }
        } catch (const PlatformError& error) {
            errorNumber_ = static_cast<int>(error.code());
            return AVERROR(EIO);
        }
        return AVERROR_EOF;
    }

    const std::vector<MediaPiece> pieces_;
    std::vector<std::uint64_t> ends_;
    std::size_t at_ = 0;
    std::uint64_t offset_ = 0;
    std::optional<RegularFile> file_;
    int errorNumber_ = 0;
    IOContextHandle stream_; // outlives the format, which reads from it
    InputFormatHandle format_;
};

TrackReader::TrackReader(const std::filesystem::path& initializationSegment, std::vector<MediaPiece> pieces)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(initializationSegment, error);
    if (error)
        throw PlatformError::posix("Could not read " + initializationSegment.string(), error.value());
    pieces.insert(pieces.begin(), {initializationSegment, size});
    input_ = std::make_unique<Input>(std::move(pieces));
}

TrackReader::~TrackReader() = default;

const AVStream& TrackReader::stream() const
{
    return *input_->format().streams[0];
}

bool TrackReader::read(AVPacket& packet)
{
    av_packet_unref(&packet);
    const int result = av_read_frame(&input_->format(), &packet);
    if (input_->errorNumber() != 0)
        throw PlatformError::posix("Could not read the take", input_->errorNumber());
    if (result == AVERROR_EOF)
        return false;
    requireFFmpeg(result, "Could not read the take's media");
    if (packet.pos >= 0) {
        const std::size_t file = input_->fileAt(packet.pos);
        piece_ = file > 0 ? file - 1 : 0;
    }
    const AVRational base = stream().time_base;
    const double mostTicks = longestTake * base.den;
    if (packet.dts == AV_NOPTS_VALUE)
        packet.dts = packet.pts;
    if (packet.pts == AV_NOPTS_VALUE)
        packet.pts = packet.dts;
    const bool isWithin = packet.pts != AV_NOPTS_VALUE && packet.pts >= -base.den && packet.dts >= -base.den
        && static_cast<double>(packet.pts) <= mostTicks && static_cast<double>(packet.duration) <= mostTicks;
    if (!isWithin)
        throw CLIError(
            singleLine(input_->pathOf(piece_ + 1).string()) + " holds a time that no recording reaches.");
    packet.duration = std::max<std::int64_t>(packet.duration, 0);
    return true;
}

} // namespace glimto
