#include "Recording/ThumbnailWriter.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Support/Errors.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

constexpr double jpegQuality = 0.82;
constexpr std::chrono::seconds hangingWriteLimit(15);

// A random UUID (RFC 4122 section 4.4) in capital letters.
std::string randomUUID()
{
    std::random_device device;
    std::array<unsigned, 4> words = {device(), device(), device(), device()};
    words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U;
    words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;
    char text[37];
    std::snprintf(text, sizeof text, "%08X-%04X-%04X-%04X-%04X%08X", words[0], words[1] >> 16U,
        words[1] & 0xFFFFU, words[2] >> 16U, words[2] & 0xFFFFU, words[3]);
    return text;
}

// Exists until it is moved into place or destroyed.
class TemporaryFile {
public:
    explicit TemporaryFile(std::filesystem::path path)
        : path_(std::move(path))
        , descriptor_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644))
    {
        if (!descriptor_)
            throw CLIError("could not create thumbnail JPEG destination");
    }
    ~TemporaryFile()
    {
        descriptor_.close();
        if (!path_.empty())
            ::unlink(path_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    // False when not all of it reached the disk.
    bool writeAll(const std::vector<std::byte>& data)
    {
        for (std::size_t at = 0; at < data.size();) {
            const ssize_t written = ::write(descriptor_.get(), data.data() + at, data.size() - at);
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0)
                return false;
            at += static_cast<std::size_t>(written);
        }
        return ::fsync(descriptor_.get()) == 0 && descriptor_.close() == 0;
    }

    void moveTo(const std::filesystem::path& path)
    {
        if (::rename(path_.c_str(), path.c_str()) != 0)
            throw PlatformError::posix("Could not write " + path.string(), errno);
        path_.clear();
    }

private:
    std::filesystem::path path_;
    FileDescriptor descriptor_;
};

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

    TemporaryFile file(outputURL.parent_path() / (".thumbnail-" + randomUUID() + ".jpg"));
    bool isWritten = false;
    try {
        isWritten = file.writeAll(codec.encodeJPEG(pixels, jpegQuality));
    } catch (const std::exception&) {
        isWritten = false;
    }
    if (!isWritten)
        throw CLIError("could not finalize thumbnail JPEG");
    file.moveTo(outputURL);
}

} // namespace

struct ThumbnailWriter::State {
    State(std::filesystem::path url, ImageCodec& imageCodec, LineOutput& errors)
        : outputURL(std::move(url))
        , codec(imageCodec)
        , standardError(errors)
    {
    }

    const std::filesystem::path outputURL;
    ImageCodec& codec;
    LineOutput& standardError;

    std::mutex mutex;
    std::condition_variable ended;
    bool didScheduleWrite = false;
    bool isWriting = false;

    bool claimFirstFrame()
    {
        const std::lock_guard lock(mutex);
        if (didScheduleWrite)
            return false;
        didScheduleWrite = true;
        isWriting = true;
        return true;
    }

    void write(const PixelBuffer& pixels)
    {
        try {
            writeThumbnail(pixels, outputURL, codec);
        } catch (...) {
            standardError.writeLine(
                "warning: thumbnail generation failed: " + errorFacts(std::current_exception()).message);
        }
    }

    void noteEnd()
    {
        const std::lock_guard lock(mutex);
        isWriting = false;
        ended.notify_all();
    }
};

ThumbnailWriter::ThumbnailWriter(
    std::filesystem::path outputURL, ImageCodec& codec, LineOutput& standardError)
    : state_(std::make_shared<State>(std::move(outputURL), codec, standardError))
    , queue_("glimto.capture.thumbnail")
{
}

ThumbnailWriter::~ThumbnailWriter()
{
    std::unique_lock lock(state_->mutex);
    if (state_->ended.wait_for(lock, hangingWriteLimit, [this] { return !state_->isWriting; }))
        return;
    lock.unlock();
    queue_.abandon();
}

void ThumbnailWriter::captureFirstFrame(const VideoFrame& frame)
{
    if (!frame.pixels || !state_->claimFirstFrame())
        return;
    queue_.post([state = state_, pixels = frame.pixels]() mutable {
        state->write(*pixels);
        pixels = nullptr;
        state->noteEnd();
    });
}

void ThumbnailWriter::waitUntilWritten()
{
    std::unique_lock lock(state_->mutex);
    state_->ended.wait(lock, [this] { return !state_->isWriting; });
}

} // namespace glimto
