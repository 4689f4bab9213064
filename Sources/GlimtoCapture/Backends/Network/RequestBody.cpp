#include "Backends/Network/RequestBody.h"

#include <algorithm>
#include <cerrno>
#include <span>

#include "Support/Errors.h"

namespace glimto {

RequestBody::RequestBody(const std::variant<std::monostate, std::string, HTTPBodyFile>& source)
{
    if (const auto* bytes = std::get_if<std::string>(&source)) {
        bytes_ = bytes;
        size_ = static_cast<std::int64_t>(bytes->size());
    } else if (const auto* file = std::get_if<HTTPBodyFile>(&source)) {
        file_ = file->get();
        size_ = static_cast<std::int64_t>(file_->size());
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
        const auto target = std::as_writable_bytes(std::span(buffer, wanted));
        count = file_->readAt(static_cast<std::uintmax_t>(offset_), target);
        if (count == 0)
            throw PlatformError("POSIX", EIO, file_->failure() + ": it became shorter while it was sent.");
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
