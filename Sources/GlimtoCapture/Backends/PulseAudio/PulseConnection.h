#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <pulse/mainloop.h>
#include <pulse/proplist.h>

#include "Support/Errors.h"
#include "Support/Owned.h"
#include "Support/HostClock.h"

struct pa_context;
struct pa_operation;
struct pa_stream;

namespace glimto {

struct PulseDeleter {
    // These are taken off their callbacks and from the server.
    void operator()(pa_context* context) const noexcept;
    void operator()(pa_stream* stream) const noexcept;
    // An operation that still runs is cancelled: its callback does not come any more.
    void operator()(pa_operation* operation) const noexcept;
};

using PulseMainloopHandle = Owned<pa_mainloop, pa_mainloop_free>;
using PulseContextHandle = std::unique_ptr<pa_context, PulseDeleter>;
using PulseStreamHandle = std::unique_ptr<pa_stream, PulseDeleter>;
using PulseOperationHandle = std::unique_ptr<pa_operation, PulseDeleter>;
using PulsePropertiesHandle = Owned<pa_proplist, pa_proplist_free>;

// Runs the sound server's library, always on the thread that calls it. No call to the server waits for
// longer than the caller allows.
class PulseMainloop {
public:
    // Throws PlatformError when the system has no descriptors left.
    PulseMainloop();

    pa_mainloop* get() const { return loop_.get(); }

    // Works off what is there, after waiting for something until `deadline`. Returns at once after end().
    void iterate(HostTime deadline);

    // Iterates until `condition` holds; false when the deadline passed or end() was called before.
    bool wait(const std::function<bool()>& condition, HostTime deadline);

    // Lets every wait return from now on. Any thread.
    void end();
    bool mustEnd() const { return mustEnd_; }

private:
    PulseMainloopHandle loop_;
    std::atomic<bool> mustEnd_ = false;
};

// A connection to the sound server that the environment names; no server is ever started for it.
class PulseConnection {
public:
    static constexpr std::chrono::seconds answerTimeout{5};

    // Throws PlatformError "No sound server answers ..." when there is none, and after five seconds when it
    // does not answer. `loop` outlives the connection.
    explicit PulseConnection(PulseMainloop& loop);

    pa_context* get() const { return context_.get(); }
    PulseMainloop& loop() const { return loop_; }

    bool isAlive() const;

    // Waits for the end of an operation that has just begun. Throws PlatformError with `what` when it could
    // not begin, the connection breaks, or the server does not answer within five seconds.
    void finish(pa_operation* operation, const std::string& what);

    // The library's last error on this connection.
    PlatformError error(const std::string& what) const;

private:
    void waitUntilReady();

    PulseMainloop& loop_;
    PulseContextHandle context_;
};

} // namespace glimto
