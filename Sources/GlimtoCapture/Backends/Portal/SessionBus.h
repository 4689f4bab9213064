#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include <systemd/sd-bus.h>

#include "Backends/Streams/WakeUp.h"
#include "Support/Owned.h"

namespace glimto {

using BusMessage = Owned<sd_bus_message, sd_bus_message_unref>;
using BusSlot = Owned<sd_bus_slot, sd_bus_slot_unref>;

// Throws PlatformError when a call of sd-bus returned an error number (negative).
void requireBus(int result, const std::string& what);

// A connection to the user's session bus. One thread at a time.
//
// Whoever answers there may take as long as they like and say what they like: every wait has a limit, and
// `wakeUp` gives it up from another thread.
class SessionBus {
public:
    using Limit = std::chrono::nanoseconds;

    // `wakeUp` outlives this. Throws PlatformError noPortal when there is no bus.
    explicit SessionBus(WakeUp& wakeUp);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    // The name that the bus gave this connection: ":1.42".
    std::string uniqueName();

    BusMessage methodCall(
        const std::string& destination, const std::string& path, const char* interface, const char* member);

    // The answer to `call`. Throws PlatformError: noAnswer after `limit`, givenUp, and for an answer that is
    // an error noPortal or badAnswer with its text.
    BusMessage call(BusMessage call, Limit limit);

    // Sends `call`, whose answer nobody reads, as far as that goes without waiting.
    void send(BusMessage call) noexcept;

    // Hears a signal until the listener is gone. `onSignal` must not throw.
    struct Signal {
        std::string sender;
        std::string path;
        std::string interface;
        std::string member;
        std::string firstArgument = {}; // any when empty
    };
    using OnSignal = std::function<void(sd_bus_message*)>;
    struct Listener;
    std::shared_ptr<Listener> listen(const Signal& signal, OnSignal onSignal);

    // Handles what has come until `isReady`. Throws PlatformError noAnswer with `what` after `limit`,
    // givenUp, and badAnswer when the bus is lost.
    void waitUntil(const std::function<bool()>& isReady, Limit limit, const std::string& what);

    // Handles what has come, without waiting.
    void handleEvents();
    int fileDescriptor() const;

private:
    bool handleOne();

    WakeUp& wakeUp_;
    Owned<sd_bus, sd_bus_close_unref> bus_; // goes without waiting for anybody to read what is to be sent
};

} // namespace glimto
