#include "Backends/Wayland/WaylandSocket.h"

#include <cerrno>
#include <cstdlib>
#include <string>

#include "Backends/Wayland/LocalSocket.h"
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
    FileDescriptor descriptor = connectedLocalSocket(path);
    if (descriptor)
        return descriptor;
    if (errno == EAGAIN)
        throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
    throw cannotConnect(errno == ENAMETOOLONG ? ": the path of its socket is too long." : ".");
}

} // namespace glimto
