#include "Backends/Portal/SessionBus.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>

#include "Backends/Portal/PortalErrors.h"
#include "Support/Text.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

const char* const noAnswerText = "does not answer.";

// A timer of the bus is not looked at before it is due.
constexpr std::chrono::milliseconds busTimerSlack(1);

// Whether the error says that there is nobody, or nobody who can do that.
bool meansNobody(const char* name)
{
    for (const char* each :
        {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_UNKNOWN_METHOD,
            SD_BUS_ERROR_UNKNOWN_INTERFACE, SD_BUS_ERROR_UNKNOWN_OBJECT,
            "org.freedesktop.DBus.Error.Spawn.ServiceNotFound", "org.freedesktop.DBus.Error.Spawn.ExecFailed",
            "org.freedesktop.DBus.Error.Spawn.ChildExited", "org.freedesktop.DBus.Error.Spawn.Failed"}) {
        if (std::strcmp(name, each) == 0)
            return true;
    }
    return false;
}

PlatformError answeredError(const sd_bus_error& error)
{
    const char* name = error.name ? error.name : "";
    std::string text = excerpt(validUTF8(error.message ? error.message : name));
    if (meansNobody(name))
        return portalError(PortalFailure::noPortal, "The desktop portal cannot share screens: " + text);
    if (std::strcmp(name, SD_BUS_ERROR_NO_REPLY) == 0 || std::strcmp(name, SD_BUS_ERROR_TIMEOUT) == 0)
        return portalError(PortalFailure::noAnswer, std::string("The desktop portal ") + noAnswerText);
    return portalError(PortalFailure::badAnswer, "The desktop portal refused: " + text);
}

} // namespace

// The function's address goes to sd-bus, so the object stays where it is.
struct SessionBus::Listener {
    OnSignal onSignal;
    BusSlot slot; // first to go
};

void requireBus(int result, const std::string& what)
{
    if (result < 0)
        throw PlatformError::posix(what, -result);
}

SessionBus::SessionBus(WakeUp& wakeUp)
    : wakeUp_(wakeUp)
{
    sd_bus* bus = nullptr;
    const int result = sd_bus_open_user(&bus);
    bus_.reset(bus);
    if (result < 0)
        throw portalError(PortalFailure::noPortal,
            std::string("There is no session bus, and so no desktop portal that could share the screen: ")
                + std::strerror(-result) + ".");
}

SessionBus::~SessionBus() = default;

std::string SessionBus::uniqueName()
{
    // Set once the bus has answered the greeting.
    waitUntil(
        [this] { return sd_bus_is_ready(bus_.get()) > 0; }, std::chrono::seconds(10), "The session bus");
    const char* name = nullptr;
    requireBus(sd_bus_get_unique_name(bus_.get(), &name), "Could not use the session bus");
    return name;
}

BusMessage SessionBus::methodCall(
    const std::string& destination, const std::string& path, const char* interface, const char* member)
{
    sd_bus_message* message = nullptr;
    const int result = sd_bus_message_new_method_call(
        bus_.get(), &message, destination.c_str(), path.c_str(), interface, member);
    BusMessage owned(message);
    requireBus(result, "Could not ask the desktop portal");
    return owned;
}

BusMessage SessionBus::call(BusMessage call, Limit limit)
{
    BusMessage answer;
    sd_bus_slot* slot = nullptr;
    const auto timeout
        = static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(limit).count());
    requireBus(sd_bus_call_async(
                   bus_.get(), &slot, call.get(),
                   [](sd_bus_message* message, void* target, sd_bus_error*) {
                       static_cast<BusMessage*>(target)->reset(sd_bus_message_ref(message));
                       return 0;
                   },
                   &answer, timeout),
        "Could not ask the desktop portal");
    const BusSlot pending(slot); // its end makes sure that `answer` is not written to any more
    waitUntil([&] { return answer != nullptr; }, limit, "The desktop portal");
    if (const sd_bus_error* error = sd_bus_message_get_error(answer.get()))
        throw answeredError(*error);
    return answer;
}

void SessionBus::send(BusMessage call) noexcept
{
    sd_bus_message_set_expect_reply(call.get(), 0);
    if (sd_bus_send(bus_.get(), call.get(), nullptr) < 0)
        return;
    // What does not go out at once is nobody's loss: the bus tells the portal when we are gone.
    pollfd entry = {.fd = sd_bus_get_fd(bus_.get()), .events = POLLOUT, .revents = 0};
    (void)::poll(&entry, 1, 100);
    (void)sd_bus_process(bus_.get(), nullptr);
}

std::shared_ptr<SessionBus::Listener> SessionBus::listen(const Signal& signal, OnSignal onSignal)
{
    std::string rule = "type='signal',sender='" + signal.sender + "',path='" + signal.path + "',interface='"
        + signal.interface + "',member='" + signal.member + "'";
    if (!signal.firstArgument.empty())
        rule += ",arg0='" + signal.firstArgument + "'";
    auto listener = std::make_shared<Listener>(Listener{std::move(onSignal), nullptr});
    sd_bus_slot* slot = nullptr;
    requireBus(sd_bus_add_match_async(
                   bus_.get(), &slot, rule.c_str(),
                   [](sd_bus_message* message, void* target, sd_bus_error*) {
                       static_cast<Listener*>(target)->onSignal(message);
                       return 0;
                   },
                   nullptr, listener.get()),
        "Could not listen to the desktop portal");
    listener->slot.reset(slot);
    return listener;
}

bool SessionBus::handleOne()
{
    const int result = sd_bus_process(bus_.get(), nullptr);
    if (result < 0)
        throw portalError(
            PortalFailure::badAnswer, std::string("The session bus was lost: ") + std::strerror(-result));
    return result > 0;
}

void SessionBus::handleEvents()
{
    while (handleOne()) { }
}

int SessionBus::fileDescriptor() const
{
    return sd_bus_get_fd(bus_.get());
}

void SessionBus::waitUntil(const std::function<bool()>& isReady, Limit limit, const std::string& what)
{
    const HostTime end = HostClock::now() + limit;
    for (;;) {
        if (isReady())
            return;
        if (wakeUp_.hasEnded())
            throw portalError(PortalFailure::givenUp, "The capture is no longer wanted.");
        if (handleOne())
            continue;
        const HostTime now = HostClock::now();
        if (now >= end)
            throw portalError(PortalFailure::noAnswer, what + " " + noAnswerText);
        // The bus has timers of its own, whose times come in microseconds of the same clock.
        HostTime deadline = end;
        std::uint64_t busTimer = 0;
        if (sd_bus_get_timeout(bus_.get(), &busTimer) > 0 && busTimer != UINT64_MAX)
            deadline
                = std::min(end, std::max(now, HostTime(std::chrono::microseconds(busTimer))) + busTimerSlack);
        const int events = sd_bus_get_events(bus_.get());
        std::array<pollfd, 2> entries = {{
            {.fd = sd_bus_get_fd(bus_.get()), .events = static_cast<short>(events), .revents = 0},
            {.fd = wakeUp_.fileDescriptor(), .events = POLLIN, .revents = 0},
        }};
        if (!waitFor(entries, deadline))
            throw PlatformError::posix("Could not wait for the desktop portal", errno);
    }
}

} // namespace glimto
