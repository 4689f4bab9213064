#include "Support/AtomicFile.h"

#include <atomic>
#include <cerrno>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

std::filesystem::path temporaryPathFor(const std::filesystem::path& path)
{
    static std::atomic<unsigned> counter = 0;
    return path.parent_path()
        / ("." + path.filename().string() + "." + std::to_string(::getpid()) + "-" + std::to_string(counter++)
            + ".tmp");
}

[[noreturn]] void throwWriteError(const std::filesystem::path& path, int errorNumber)
{
    throw PlatformError::posix("Could not write " + path.string(), errorNumber);
}

} // namespace

AtomicFile::AtomicFile(std::filesystem::path path)
    : AtomicFile(path, temporaryPathFor(path))
{
}

AtomicFile::AtomicFile(std::filesystem::path path, std::filesystem::path temporaryPath)
    : path_(std::move(path))
    , temporaryPath_(std::move(temporaryPath))
    , descriptor_(::open(temporaryPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644))
{
    if (!descriptor_)
        throwWriteError(path_, errno);
}

AtomicFile::~AtomicFile()
{
    if (!temporaryPath_.empty()) {
        descriptor_.close();
        ::unlink(temporaryPath_.c_str());
    }
}

void AtomicFile::write(std::span<const std::byte> data)
{
    while (!data.empty()) {
        const ssize_t written = ::write(descriptor_.get(), data.data(), data.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throwWriteError(path_, errno);
        }
        size_ += static_cast<std::size_t>(written);
        data = data.subspan(static_cast<std::size_t>(written));
    }
}

void AtomicFile::finish()
{
    if (!descriptor_)
        return;
    if (::fsync(descriptor_.get()) != 0)
        throwWriteError(path_, errno);
    if (const int errorNumber = descriptor_.close(); errorNumber != 0)
        throwWriteError(path_, errorNumber);
}

void AtomicFile::commit()
{
    finish();
    if (::rename(temporaryPath_.c_str(), path_.c_str()) != 0)
        throwWriteError(path_, errno);
    temporaryPath_.clear();
}

void writeFileAtomically(const std::filesystem::path& path, std::span<const std::byte> data)
{
    AtomicFile file(path);
    file.write(data);
    file.commit();
}

void writeFileAtomically(const std::filesystem::path& path, std::string_view text)
{
    writeFileAtomically(path, std::as_bytes(std::span(text.data(), text.size())));
}

} // namespace glimto
