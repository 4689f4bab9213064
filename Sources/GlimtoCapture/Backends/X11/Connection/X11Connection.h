#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include <xcb/xcb.h>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"
#include "Support/Owned.h"
#include "Support/HostClock.h"

namespace glimto {

// A reply, event or error that xcb allocated.
template <typename Value> using XCBHandle = Owned<Value, std::free>;

// Numbers of PlatformErrors of this backend in the domain "X11". Errors of the server itself carry
// its own error codes (1 to 255).
enum class X11Failure : std::int64_t {
    noDisplay = 1001, // DISPLAY is not set
    cannotConnect = 1002, // nothing answers at DISPLAY
    connectionLost = 1004, // the server went away
    noAnswer = 1005, // the server does not answer in time
    missingExtension = 1006,
    unsupportedVisual = 1007, // not 16 or 32 bits of red, green and blue, little endian
    sourceGone = 1008, // the display or window captured is no longer there
    sharedMemory = 1009,
};

PlatformError x11Error(X11Failure failure, const std::string& message);

// One connection to an X server, used by one thread at a time.
//
// Every wait for a reply has a deadline, so a server that hangs gives an error, never a hang.
class X11Connection {
public:
    // Connects to the display that the environment names. Throws PlatformError when DISPLAY is not
    // set, or when nothing answers within 5 seconds (1 second right after that has happened).
    static std::unique_ptr<X11Connection> open();

    ~X11Connection() { xcb_disconnect(connection_); }
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* xcb() const { return connection_; }
    const xcb_screen_t& screen() const { return *screen_; }
    xcb_window_t root() const { return screen_->root; }
    int fileDescriptor() const { return xcb_get_file_descriptor(connection_); }

    // What all ids of the client that has made a window or the like have in common; 0 for the server itself.
    std::uint32_t clientOf(std::uint32_t id) const
    {
        return id & ~xcb_get_setup(connection_)->resource_id_mask;
    }

    // Whether the server has the extension; the answer is asked for once.
    bool hasExtension(xcb_extension_t& extension) const;

    // The first event code of an extension that the server has.
    std::uint8_t firstEvent(xcb_extension_t& extension) const;

    // Throws missingExtension, naming it, when the server does not have the extension.
    void requireExtension(xcb_extension_t& extension, const char* name) const;

    // The reply to a request, flushed and waited for until the deadline: null when the server
    // answered with an error (a window that is gone, say). Throws connectionLost or noAnswer.
    //
    //     auto reply = connection.reply<xcb_get_geometry_reply_t>(xcb_get_geometry(connection.xcb(),
    //     window));
    template <typename Reply, typename Cookie> XCBHandle<Reply> reply(Cookie cookie)
    {
        return XCBHandle<Reply>(static_cast<Reply*>(waitForReply(cookie.sequence)));
    }

    // The code of the server's error to what was last asked for a reply; 0 when there was one.
    std::uint8_t lastError() const { return lastError_; }

    // The reply that has come to a request: none yet, or null when the server answered with an error.
    template <typename Reply> std::optional<XCBHandle<Reply>> pollReply(unsigned sequence)
    {
        void* reply = nullptr;
        if (!takeReply(sequence, &reply))
            return std::nullopt;
        return XCBHandle<Reply>(static_cast<Reply*>(reply));
    }

    // Whether a checked request without a reply succeeded: null when so, else the server's error.
    XCBHandle<xcb_generic_error_t> check(xcb_void_cookie_t cookie);

    // The next event already received or readable now; null when there is none. Throws
    // connectionLost when the server went away.
    XCBHandle<xcb_generic_event_t> pollEvent();

    void flush();

    // Waits until the server has sent something. False when it has not until `deadline`, and perhaps before.
    bool waitReadable(HostTime deadline);

    // Has the root window tell of these events as well as of those that were selected before.
    void addRootEvents(std::uint32_t mask);

    // How long a reply is waited for, 3 seconds unless set. Another client that grabs the server keeps all
    // others waiting, so who depends on no answer at once had better be patient.
    void setAnswerTimeout(std::chrono::milliseconds timeout) { answerTimeout_ = timeout; }

    // No reply is waited for beyond this moment, whatever the time-out.
    void setDeadline(HostTime deadline) { deadline_ = deadline; }

private:
    X11Connection(xcb_connection_t* connection, int screenNumber);
    void* waitForReply(unsigned sequence);
    bool takeReply(unsigned sequence, void** reply);
    void throwIfLost() const;

    xcb_connection_t* connection_;
    const xcb_screen_t* screen_ = nullptr;
    std::chrono::milliseconds answerTimeout_{3000};
    HostTime deadline_ = HostTime::max();
    std::uint8_t lastError_ = 0;
};

// The windows of a reply, bottom to top, and no more than have come. Valid as long as the reply.
inline std::span<const xcb_window_t> x11WindowChildren(const xcb_query_tree_reply_t& tree)
{
    return {xcb_query_tree_children(&tree), std::min<std::size_t>(tree.children_len, tree.length)};
}

} // namespace glimto
