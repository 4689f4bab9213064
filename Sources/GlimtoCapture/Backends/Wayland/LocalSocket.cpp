#include "Backends/Wayland/LocalSocket.h"

#include <algorithm>
#include <cerrno>

#include <sys/socket.h>
#include <sys/un.h>

namespace glimto {

FileDescriptor connectedLocalSocket(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return {};
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    FileDescriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (descriptor
        && ::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const int error = errno;
        descriptor.close();
        errno = error;
    }
    return descriptor;
}

} // namespace glimto
