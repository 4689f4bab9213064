#include "Backends/Network/RequestBody.h"

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

#include "Support/Errors.h"

namespace glimto {

namespace {

[[noreturn]] void throwReadError(const std::filesystem::path& path, int errorNumber)
{
    throw PlatformError::posix("Could not read " + path.string(), errorNumber);
}

} // namespace

RequestBody::RequestBody(const std::variant<std::monostate, std::string, FileBelow>& source)
{
    if (const auto* bytes = std::get_if<std::string>(&source)) {
        bytes_ = bytes;
        size_ = static_cast<std::int64_t>(bytes->size());
    } else if (const auto* file = std::get_if<FileBelow>(&source)) {
        path_ = file->path();
        file_ = openForReading(*file);
        struct stat status = {};
        if (::fstat(file_.get(), &status) != 0)
            throwReadError(path_, errno);
        size_ = status.st_size;
    }
}

std::size_t RequestBody::read(char* buffer, std::size_t capacity)
{
    const auto wanted = std::min(capacity, static_cast<std::size_t>(size_ - offset_));
    if (wanted == 0)
        return 0;
    std::size_t count = 0;
    if (bytes_) {
        count = bytes_->copy(buffer, wanted, static_cast<std::size_t>(offset_));
    } else {
        ssize_t result = 0;
        do {
            result = ::pread(file_.get(), buffer, wanted, offset_);
        } while (result < 0 && errno == EINTR);
        if (result < 0)
            throwReadError(path_, errno);
        if (result == 0)
            throw PlatformError(
                "POSIX", EIO, "Could not read " + path_.string() + ": it became shorter while it was sent.");
        count = static_cast<std::size_t>(result);
    }
    offset_ += static_cast<std::int64_t>(count);
    return count;
}

bool RequestBody::seek(std::int64_t offset)
{
    if (offset < 0 || offset > size_)
        return false;
    offset_ = offset;
    return true;
}

} // namespace glimto
