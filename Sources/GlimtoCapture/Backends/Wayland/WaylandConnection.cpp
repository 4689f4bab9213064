#include "Backends/Wayland/WaylandConnection.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include <fcntl.h>

#include "Backends/Wayland/LocalSocket.h"
#include "Backends/Wayland/WaylandErrors.h"
#include "Support/EnvironmentVariable.h"
#include "Support/FileDescriptor.h"

namespace glimto {

namespace {

// A connection to the socket that WAYLAND_DISPLAY names: an absolute path, or a name in $XDG_RUNTIME_DIR, or
// "wayland-0" where it is not set. Does not wait: a compositor that accepts nobody any more is as good as
// none. Throws PlatformError cannotConnect or noAnswer.
FileDescriptor connectedWaylandSocket()
{
    std::string name = environmentVariable("WAYLAND_DISPLAY");
    if (name.empty())
        name = "wayland-0";
    const auto cannotConnect = [&](const std::string& reason) {
        return waylandError(WaylandFailure::cannotConnect,
            "Could not connect to the Wayland compositor \"" + name + "\" that WAYLAND_DISPLAY names"
                + reason);
    };
    const std::string folder = environmentVariable("XDG_RUNTIME_DIR");
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

constexpr std::chrono::seconds answerTimeout{5};

constexpr std::size_t mostOutputs = 64;

// The newest versions that are known here.
constexpr std::uint32_t newestShm = 1;
constexpr std::uint32_t newestSeat = 1;
constexpr std::uint32_t newestOutput = 4; // tells its name
constexpr std::uint32_t newestXDGOutput = 3;
constexpr std::uint32_t newestScreencopy = 3; // tells damage and when all kinds of buffers were named
constexpr std::uint32_t newestToplevels = 3;
constexpr std::uint32_t newestDataControl = 2;
constexpr std::uint32_t newestCommon = 1; // of the protocols that all compositors are to have

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::open()
{
    const FileDescriptor socket = connectedWaylandSocket();
    // The library closes its own.
    wl_display* display = wl_display_connect_to_fd(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    if (!display)
        throw PlatformError::posix("Could not connect to the Wayland compositor", errno);
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(display));
    connection->learn();
    return connection;
}

WaylandConnection::WaylandConnection(wl_display* display)
    : display_(display)
{
}

void WaylandConnection::learn()
{
    static constexpr wl_registry_listener listener = {
        .global =
            [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<WaylandConnection*>(self)->didAddGlobal({name, version}, interface);
            },
        .global_remove
        = [](void* self, wl_registry*,
              std::uint32_t name) { static_cast<WaylandConnection*>(self)->didRemoveGlobal(name); },
    };
    registry_.reset(wl_display_get_registry(display()));
    wl_registry_add_listener(registry_.get(), &listener, this);
    roundTrip();
    for (const auto& output : outputs_)
        output->follow(xdgOutputs_.get());
    roundTrip();
}

WaylandConnection::CaptureWay WaylandConnection::captureWay() const
{
    if (shm_ && imageCopy_ && outputSources_)
        return CaptureWay::imageCopy;
    return shm_ && screencopy_ ? CaptureWay::screencopy : CaptureWay::none;
}

bool WaylandConnection::canCaptureWindows() const
{
    return shm_ && imageCopy_ && windowSources_ && windowList_.version > 0;
}

std::string WaylandConnection::captureObstacle() const
{
    if (captureWay() != CaptureWay::none)
        return {};
    return "This Wayland compositor lets no program capture the screen in a way that is known here "
           "(ext-image-copy-capture, wlr-screencopy).";
}

template <typename Object>
WaylandHandle<Object> WaylandConnection::bound(
    const Global& global, const wl_interface& interface, std::uint32_t newest)
{
    return WaylandHandle<Object>(static_cast<Object*>(
        wl_registry_bind(registry_.get(), global.name, &interface, std::min(global.version, newest))));
}

void WaylandConnection::didAddGlobal(const Global& global, const std::string& interface)
{
    const auto bindTo = [&]<typename Object>(
                            WaylandHandle<Object>& handle, const wl_interface& known, std::uint32_t newest) {
        if (interface == known.name && !handle)
            handle = bound<Object>(global, known, newest);
    };
    bindTo(shm_, wl_shm_interface, newestShm);
    bindTo(seat_, wl_seat_interface, newestSeat);
    bindTo(xdgOutputs_, zxdg_output_manager_v1_interface, newestXDGOutput);
    bindTo(screencopy_, zwlr_screencopy_manager_v1_interface, newestScreencopy);
    bindTo(imageCopy_, ext_image_copy_capture_manager_v1_interface, newestCommon);
    bindTo(outputSources_, ext_output_image_capture_source_manager_v1_interface, newestCommon);
    bindTo(windowSources_, ext_foreign_toplevel_image_capture_source_manager_v1_interface, newestCommon);
    bindTo(dataControl_, zwlr_data_control_manager_v1_interface, newestDataControl);
    bindTo(commonDataControl_, ext_data_control_manager_v1_interface, newestCommon);
    if (interface == wl_output_interface.name)
        addOutput(global);
    if (interface == zwlr_foreign_toplevel_manager_v1_interface.name)
        toplevelManager_ = global;
    if (interface == ext_foreign_toplevel_list_v1_interface.name)
        windowList_ = global;
}

void WaylandConnection::addOutput(const Global& global)
{
    if (outputs_.size() >= mostOutputs)
        return;
    outputs_.push_back(std::make_unique<WaylandOutput>(
        global.name, bound<wl_output>(global, wl_output_interface, newestOutput)));
    if (xdgOutputs_)
        outputs_.back()->follow(xdgOutputs_.get());
}

void WaylandConnection::didRemoveGlobal(std::uint32_t name)
{
    outputs_.remove_if([name](const auto& output) { return output->globalName() == name; });
}

WaylandHandle<zwlr_foreign_toplevel_manager_v1> WaylandConnection::bindToplevelManager()
{
    if (toplevelManager_.version == 0)
        return nullptr;
    return bound<zwlr_foreign_toplevel_manager_v1>(
        toplevelManager_, zwlr_foreign_toplevel_manager_v1_interface, newestToplevels);
}

WaylandHandle<ext_foreign_toplevel_list_v1> WaylandConnection::bindWindowList()
{
    if (windowList_.version == 0)
        return nullptr;
    return bound<ext_foreign_toplevel_list_v1>(
        windowList_, ext_foreign_toplevel_list_v1_interface, newestCommon);
}

void WaylandConnection::roundTrip()
{
    static constexpr wl_callback_listener listener = {
        .done = [](void* done, wl_callback*, std::uint32_t) { *static_cast<bool*>(done) = true; },
    };
    bool isDone = false;
    const WaylandHandle<wl_callback> callback(wl_display_sync(display()));
    wl_callback_add_listener(callback.get(), &listener, &isDone);
    if (!dispatchUntil([&] { return isDone; }, HostClock::now() + answerTimeout))
        throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
}

bool WaylandConnection::dispatchUntil(const std::function<bool()>& isDone, HostTime deadline)
{
    while (!isDone()) {
        if (HostClock::now() >= deadline)
            return false;
        dispatchOnce(deadline);
    }
    return true;
}

void WaylandConnection::dispatchOnce(HostTime deadline, std::span<const pollfd> others)
{
    if (wl_display_prepare_read(display()) != 0) {
        if (wl_display_dispatch_pending(display()) < 0)
            throwLost();
        return;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - HostClock::now()).count();
    std::vector<pollfd> entries = {{.fd = fileDescriptor(), .events = POLLIN, .revents = 0}};
    entries.insert(entries.end(), others.begin(), others.end());
    // What does not fit into the socket now goes with the next call.
    if (wl_display_flush(display()) < 0 && errno == EAGAIN)
        entries[0].events |= POLLOUT;
    const int ready = ::poll(entries.data(), entries.size(),
        static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left, 0, 60'000)));
    if (ready > 0 && (entries[0].revents & (POLLIN | POLLERR | POLLHUP)) != 0) {
        if (wl_display_read_events(display()) < 0)
            throwLost();
    } else {
        wl_display_cancel_read(display());
    }
    if (wl_display_dispatch_pending(display()) < 0)
        throwLost();
}

void WaylandConnection::throwLost() const
{
    throw waylandError(WaylandFailure::connectionLost, "The connection to the Wayland compositor was lost.");
}

} // namespace glimto
