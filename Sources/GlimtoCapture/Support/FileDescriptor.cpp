#include "Support/FileDescriptor.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace glimto {

int FileDescriptor::close() noexcept
{
    const int descriptor = std::exchange(descriptor_, -1);
    if (descriptor < 0 || ::close(descriptor) == 0)
        return 0;
    return errno;
}

bool writeAll(int descriptor, std::span<const std::byte> data) noexcept
{
    while (!data.empty()) {
        const ssize_t count = ::write(descriptor, data.data(), data.size());
        if (count < 0 && errno != EINTR)
            return false;
        data = data.subspan(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

} // namespace glimto
