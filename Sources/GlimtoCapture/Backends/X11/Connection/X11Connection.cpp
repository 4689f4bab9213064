#include "Backends/X11/Connection/X11Connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

#include <poll.h>
#include <xcb/xcbext.h>

#include "Platform/ErrorDomains.h"
#include "Support/EnvironmentVariable.h"
#include "Support/SerialQueue.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds connectTimeout{5};
// For a server that has kept us waiting in vain just before: a command asks it several things, and all of
// them together are to fail in a few seconds.
constexpr std::chrono::seconds nextConnectTimeout{1};
// By hand: connections come and go, and the server that keeps them waiting is the process's.
std::atomic<bool> hasWaitedInVain{false};

struct Opened {
    xcb_connection_t* connection = nullptr;
    int screenNumber = 0;
    int systemError = 0; // what the system call that failed last left, 0 when none did
};

// xcb_connect blocks for as long as the server likes, so it runs on a thread that is left behind when
// the server does not answer.
Opened connectInTime(const std::string& display)
{
    SerialQueue queue("glimto.capture.connect");
    const auto noAnswer = std::make_exception_ptr(
        x11Error(X11Failure::noAnswer, "The X server at DISPLAY \"" + display + "\" does not answer."));
    const auto timeout = hasWaitedInVain ? nextConnectTimeout : connectTimeout;
    try {
        const auto opened = queue.runWithin(
            timeout,
            [display] {
                Opened result;
                errno = 0;
                result.connection = xcb_connect(display.c_str(), &result.screenNumber);
                result.systemError = errno;
                return result;
            },
            noAnswer);
        hasWaitedInVain = false;
        return opened;
    } catch (const PlatformError&) {
        hasWaitedInVain = true;
        throw;
    }
}

} // namespace

PlatformError x11Error(X11Failure failure, const std::string& message)
{
    return {errorDomain::x11, static_cast<std::int64_t>(failure), message};
}

std::unique_ptr<X11Connection> X11Connection::open()
{
    const std::string display = environmentVariable("DISPLAY");
    if (display.empty())
        throw x11Error(X11Failure::noDisplay, "There is no X display: DISPLAY is not set.");
    const Opened opened = connectInTime(display);
    if (xcb_connection_has_error(opened.connection) != 0) {
        xcb_disconnect(opened.connection);
        std::string message = "Could not connect to the X display \"" + display + "\" that DISPLAY names";
        // Other codes are those of the addresses that were tried, and would mislead.
        if (opened.systemError == EMFILE || opened.systemError == ENFILE)
            message += ": " + std::generic_category().message(opened.systemError);
        else
            message += ".";
        throw x11Error(X11Failure::cannotConnect, message);
    }
    return std::unique_ptr<X11Connection>(new X11Connection(opened.connection, opened.screenNumber));
}

X11Connection::X11Connection(xcb_connection_t* connection, int screenNumber)
    : connection_(connection)
{
    auto iterator = xcb_setup_roots_iterator(xcb_get_setup(connection_));
    for (int index = 0; index < screenNumber && iterator.rem > 1; ++index)
        xcb_screen_next(&iterator);
    screen_ = iterator.data;
}

bool X11Connection::hasExtension(xcb_extension_t& extension) const
{
    const auto* data = xcb_get_extension_data(connection_, &extension);
    return data && data->present;
}

std::uint8_t X11Connection::firstEvent(xcb_extension_t& extension) const
{
    return xcb_get_extension_data(connection_, &extension)->first_event;
}

void X11Connection::requireExtension(xcb_extension_t& extension, const char* name) const
{
    if (!hasExtension(extension))
        throw x11Error(
            X11Failure::missingExtension, "The X server has no " + std::string(name) + " extension.");
}

XCBHandle<xcb_generic_error_t> X11Connection::check(xcb_void_cookie_t cookie)
{
    // A checked request has no reply of its own: the answer to a following request shows that it is done.
    XCBHandle<xcb_generic_error_t> error;
    const auto sync = xcb_get_input_focus(connection_);
    reply<xcb_get_input_focus_reply_t>(sync);
    xcb_generic_error_t* raw = nullptr;
    void* nothing = nullptr;
    xcb_poll_for_reply(connection_, cookie.sequence, &nothing, &raw);
    error.reset(raw);
    return error;
}

XCBHandle<xcb_generic_event_t> X11Connection::pollEvent()
{
    XCBHandle<xcb_generic_event_t> event(xcb_poll_for_event(connection_));
    if (!event)
        throwIfLost();
    return event;
}

void X11Connection::flush()
{
    if (xcb_flush(connection_) <= 0)
        throwIfLost();
}

void* X11Connection::waitForReply(unsigned sequence)
{
    const auto deadline = std::min(HostClock::now() + answerTimeout_, deadline_);
    flush();
    void* reply = nullptr;
    while (!takeReply(sequence, &reply)) {
        if (HostClock::now() >= deadline)
            throw x11Error(X11Failure::noAnswer, "The X server does not answer.");
        waitReadable(deadline);
    }
    if (!reply)
        throwIfLost();
    return reply;
}

bool X11Connection::takeReply(unsigned sequence, void** reply)
{
    xcb_generic_error_t* error = nullptr;
    const bool isThere = xcb_poll_for_reply(connection_, sequence, reply, &error) != 0;
    const XCBHandle<xcb_generic_error_t> owned(error);
    lastError_ = error ? error->error_code : 0;
    return isThere;
}

bool X11Connection::waitReadable(HostTime deadline)
{
    constexpr std::chrono::milliseconds longest = std::chrono::hours(1);
    const auto now = HostClock::now();
    const auto left = std::min(deadline, now + longest) - now;
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::max(left, left.zero()));
    pollfd entry = {.fd = fileDescriptor(), .events = POLLIN, .revents = 0};
    const int ready = ::poll(&entry, 1, static_cast<int>(wait.count()));
    if (ready < 0 && errno != EINTR)
        throw PlatformError::posix("Could not wait for the X server", errno);
    return ready > 0;
}

// Event masks belong to the connection: what another user of it selected stays selected.
void X11Connection::addRootEvents(std::uint32_t mask)
{
    const auto attributes
        = reply<xcb_get_window_attributes_reply_t>(xcb_get_window_attributes(connection_, root()));
    const std::uint32_t all = mask | (attributes ? attributes->your_event_mask : 0U);
    xcb_change_window_attributes(connection_, root(), XCB_CW_EVENT_MASK, &all);
}

void X11Connection::throwIfLost() const
{
    if (xcb_connection_has_error(connection_) != 0)
        throw x11Error(X11Failure::connectionLost, "The connection to the X server was lost.");
}

} // namespace glimto
