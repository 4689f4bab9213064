#include "Backends/Wayland/WaylandSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>

#include "Backends/Wayland/WaylandErrors.h"

namespace glimto {

namespace {

std::string environmentValue(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

} // namespace

FileDescriptor connectedWaylandSocket()
{
    std::string name = environmentValue("WAYLAND_DISPLAY");
    if (name.empty())
        name = "wayland-0";
    const auto cannotConnect = [&](const std::string& reason) {
        return waylandError(WaylandFailure::cannotConnect,
            "Could not connect to the Wayland compositor \"" + name + "\" that WAYLAND_DISPLAY names"
                + reason);
    };
    const std::string folder = environmentValue("XDG_RUNTIME_DIR");
    if (name.front() != '/' && folder.empty())
        throw cannotConnect(": XDG_RUNTIME_DIR is not set.");
    const std::string path = name.front() == '/' ? name : folder + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw cannotConnect(": the path of its socket is too long.");
    std::copy(path.begin(), path.end(), address.sun_path);
    FileDescriptor descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!descriptor)
        throw PlatformError::posix("Could not make a socket", errno);
    if (::connect(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0)
        return descriptor;
    if (errno == EAGAIN)
        throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
    throw cannotConnect(".");
}

} // namespace glimto
