#include "Recording/ThumbnailWriter.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <variant>

#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/FirstOutcome.h"
#include "Support/UUID.h"

namespace glimto {

namespace {

constexpr double jpegQuality = 0.82;
constexpr std::chrono::seconds hangingWriteLimit(15);

void writeThumbnail(const PixelBuffer& pixels, const std::filesystem::path& outputURL, ImageCodec& codec)
{
    if (pixels.width <= 0 || pixels.height <= 0)
        throw CLIError("first screen frame had an empty image extent");
    if (!pixels.bytes)
        throw CLIError("Core Image could not render the thumbnail frame");
    std::error_code error;
    std::filesystem::create_directories(outputURL.parent_path(), error);
    if (error)
        throw PlatformError::posix("Could not create " + outputURL.parent_path().string(), error.value());

    std::optional<AtomicFile> file;
    try {
        file.emplace(FileBelow::of(outputURL), ".thumbnail-" + makeUUID() + ".jpg");
    } catch (const PlatformError&) {
        throw CLIError("could not create thumbnail JPEG destination");
    }
    try {
        file->write(codec.encodeJPEG(pixels, jpegQuality));
        file->finish();
    } catch (const std::exception&) {
        throw CLIError("could not finalize thumbnail JPEG");
    }
    file->commit();
}

} // namespace

struct ThumbnailWriter::State {
    const std::filesystem::path outputURL;
    ImageCodec& codec;
    LineOutput& standardError;

    std::atomic<bool> didScheduleWrite = false;
    FirstOutcome<std::monostate> end = {}; // of the write, however it went

    void write(const FramePicture& picture)
    {
        try {
            writeThumbnail(picture.pixels(), outputURL, codec);
        } catch (...) {
            standardError.writeLine(
                "warning: thumbnail generation failed: " + errorFacts(std::current_exception()).message);
        }
    }
};

ThumbnailWriter::ThumbnailWriter(
    std::filesystem::path outputURL, ImageCodec& codec, LineOutput& standardError)
    : state_(new State{std::move(outputURL), codec, standardError})
    , queue_("glimto.capture.thumbnail")
{
}

ThumbnailWriter::~ThumbnailWriter()
{
    if (state_->didScheduleWrite && !state_->end.waitFor(hangingWriteLimit))
        queue_.abandon();
}

void ThumbnailWriter::captureFirstFrame(const VideoFrame& frame)
{
    if (!frame.picture || state_->didScheduleWrite.exchange(true))
        return;
    queue_.post([state = state_, picture = frame.picture]() mutable {
        state->write(*picture);
        picture = nullptr;
        state->end.settle(std::monostate());
    });
}

void ThumbnailWriter::waitUntilWritten()
{
    // Ended by the write; one that hangs is let go of together with the stage that waits here.
    if (state_->didScheduleWrite)
        state_->end.firstResult();
}

} // namespace glimto
