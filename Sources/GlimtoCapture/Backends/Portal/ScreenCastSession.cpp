#include "Backends/Portal/ScreenCastSession.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

#include "Backends/Portal/PortalErrors.h"
#include "Platform/CaptureErrors.h"

namespace glimto {

namespace {

const char* const portalName = "org.freedesktop.portal.Desktop";
const char* const portalPath = "/org/freedesktop/portal/desktop";
const char* const screenCastInterface = "org.freedesktop.portal.ScreenCast";
const char* const requestInterface = "org.freedesktop.portal.Request";
const char* const sessionInterface = "org.freedesktop.portal.Session";
const char* const busName = "org.freedesktop.DBus";

// A portal may have to be started by its first question.
constexpr std::chrono::seconds answerLimit{20};
// The caller gives up a question earlier.
constexpr std::chrono::hours questionLimit{24};

constexpr std::uint32_t versionWithTokens = 4;
constexpr std::uint32_t versionWithCursorModes = 2;
constexpr std::uint32_t persistUntilRevoked = 2;

// Adds values to a question as sd_bus_message_append() does.
template <typename... Values> void append(sd_bus_message* message, const char* types, Values... values)
{
    requireBus(sd_bus_message_append(message, types, values...), "Could not ask the desktop portal");
}

void appendOption(sd_bus_message* message, const char* key, std::uint32_t value)
{
    append(message, "{sv}", key, "u", value);
}

void appendOption(sd_bus_message* message, const char* key, const std::string& value)
{
    append(message, "{sv}", key, "s", value.c_str());
}

// The pointer in the picture or not. Where it is not, its place comes beside the picture if possible.
PortalCursorMode chosenCursorMode(const PortalAbilities& abilities, const ScreenCastSession::Wish& wish)
{
    if (abilities.version < versionWithCursorModes)
        return PortalCursorMode::hidden;
    if (wish.showsCursor)
        return abilities.has(PortalCursorMode::embedded) ? PortalCursorMode::embedded
                                                         : PortalCursorMode::hidden;
    return abilities.has(PortalCursorMode::metadata) ? PortalCursorMode::metadata : PortalCursorMode::hidden;
}

PlatformError noneOfThatKind(PortalSourceKind kind)
{
    return portalError(PortalFailure::noPortal,
        kind == PortalSourceKind::window ? "This desktop's portal shares no single windows."
                                         : "This desktop's portal shares no whole screens.");
}

} // namespace

ScreenCastSession::ScreenCastSession(SessionBus& bus)
    : bus_(bus)
    , senderElement_(bus.uniqueName().substr(1))
{
    std::ranges::replace(senderElement_, '.', '_');
    ownerListener_ = bus_.listen({.sender = busName,
                                     .path = "/org/freedesktop/DBus",
                                     .interface = busName,
                                     .member = "NameOwnerChanged",
                                     .firstArgument = portalName},
        [this](sd_bus_message* message) {
            const char* name = nullptr;
            const char* oldOwner = nullptr;
            // One that had no owner before was started by our first question.
            if (sd_bus_message_read(message, "ss", &name, &oldOwner) >= 0 && *oldOwner)
                hasPortalGone_ = true;
        });
}

ScreenCastSession::~ScreenCastSession()
{
    if (handle_.empty() || isClosed_ || hasPortalGone_)
        return;
    try {
        bus_.send(bus_.methodCall(portalName, handle_, sessionInterface, "Close"));
    } catch (...) {
        // The bus closes the session when this connection ends.
    }
}

ScreenCastSession::Grant ScreenCastSession::open(const Wish& wish)
{
    const PortalAbilities abilities = screenCastAbilities(bus_, answerLimit);
    if (!abilities.has(wish.sourceKind))
        throw noneOfThatKind(wish.sourceKind);
    const bool hasTokens = abilities.version >= versionWithTokens;

    const std::string sessionToken = "glimto_session";
    handle_ = "/org/freedesktop/portal/desktop/session/" + senderElement_ + "/" + sessionToken;
    closedListener_ = bus_.listen(
        {.sender = portalName, .path = handle_, .interface = sessionInterface, .member = "Closed"},
        [this](sd_bus_message*) { isClosed_ = true; });
    const auto created = request(
        "CreateSession", [](sd_bus_message*) {},
        [&](sd_bus_message* message) { appendOption(message, "session_handle_token", sessionToken); },
        answerLimit);
    if (created.sessionHandle != handle_)
        throw portalError(PortalFailure::badAnswer, "The desktop portal gave no session.");

    Grant grant;
    grant.cursorMode = chosenCursorMode(abilities, wish);
    const auto session = [&](sd_bus_message* message) { append(message, "o", handle_.c_str()); };
    request(
        "SelectSources", session,
        [&](sd_bus_message* message) {
            appendOption(message, "types", static_cast<std::uint32_t>(wish.sourceKind));
            append(message, "{sv}", "multiple", "b", 0);
            if (abilities.version >= versionWithCursorModes)
                appendOption(message, "cursor_mode", static_cast<std::uint32_t>(grant.cursorMode));
            if (hasTokens)
                appendOption(message, "persist_mode", persistUntilRevoked);
            if (hasTokens && !wish.restoreToken.empty())
                appendOption(message, "restore_token", wish.restoreToken);
        },
        answerLimit);
    const auto started = request(
        "Start",
        [&](sd_bus_message* message) {
            session(message);
            append(message, "s", "");
        },
        [](sd_bus_message*) {}, questionLimit);
    if (started.streams.empty())
        throw portalError(PortalFailure::badAnswer, "The desktop portal gave nothing to capture.");
    grant.stream = started.streams.front();
    grant.restoreToken = started.restoreToken;
    return grant;
}

FileDescriptor ScreenCastSession::openPipeWireRemote()
{
    auto call = bus_.methodCall(portalName, portalPath, screenCastInterface, "OpenPipeWireRemote");
    append(call.get(), "oa{sv}", handle_.c_str(), 0);
    const auto answer = bus_.call(std::move(call), answerLimit);
    int descriptor = -1;
    if (sd_bus_message_read(answer.get(), "h", &descriptor) < 0)
        throw portalError(PortalFailure::badAnswer, "The desktop portal opened no way to PipeWire.");
    FileDescriptor own(::fcntl(descriptor, F_DUPFD_CLOEXEC, 3)); // the message closes its own
    if (!own)
        throw PlatformError::posix("Could not keep the way to PipeWire open", errno);
    return own;
}

void ScreenCastSession::check() const
{
    if (isClosed_)
        throw portalError(PortalFailure::sourceGone, "The sharing of the screen was ended on the desktop.");
}

void ScreenCastSession::waitForClosing(SessionBus::Limit limit) noexcept
{
    try {
        bus_.waitUntil([this] { return isClosed_ || hasPortalGone_; }, limit, "The desktop portal");
    } catch (const std::exception&) {
        return; // nobody closed it in time
    }
}

// One question of the kind that is answered by a signal.
PortalResponse ScreenCastSession::request(const char* member,
    const std::function<void(sd_bus_message*)>& arguments,
    const std::function<void(sd_bus_message*)>& options, SessionBus::Limit limit)
{
    const std::string token = "glimto_" + std::to_string(++requestCount_);
    std::string path = "/org/freedesktop/portal/desktop/request/" + senderElement_ + "/" + token;
    BusMessage response;
    const auto keep = [&](sd_bus_message* message) { response.reset(sd_bus_message_ref(message)); };
    // Before the question, which may be answered at once.
    const auto listen = [&] {
        return bus_.listen(
            {.sender = portalName, .path = path, .interface = requestInterface, .member = "Response"}, keep);
    };
    auto listener = listen();

    auto call = bus_.methodCall(portalName, portalPath, screenCastInterface, member);
    arguments(call.get());
    requireBus(sd_bus_message_open_container(call.get(), SD_BUS_TYPE_ARRAY, "{sv}"),
        "Could not ask the desktop portal");
    appendOption(call.get(), "handle_token", token);
    options(call.get());
    requireBus(sd_bus_message_close_container(call.get()), "Could not ask the desktop portal");
    try {
        const auto answer = bus_.call(std::move(call), answerLimit);
        const char* told = nullptr;
        requireBus(
            sd_bus_message_read(answer.get(), "o", &told), "The desktop portal's answer makes no sense");
        if (path != told) {
            // Portals before version 0.9 name the request themselves.
            path = told;
            listener = listen();
        }
        bus_.waitUntil([&] { return response || isClosed_ || hasPortalGone_; }, limit, "The desktop portal");
    } catch (...) {
        closeRequest(path);
        throw;
    }
    if (!response && hasPortalGone_)
        throw portalError(PortalFailure::badAnswer, "The desktop portal ended before it had answered.");
    if (!response)
        throw captureDeclined("The sharing of the screen was ended on the desktop.");
    auto result = portalResponse(response.get());
    if (result.outcome == PortalResponse::Outcome::cancelled)
        throw captureDeclined("The sharing of the screen was declined.");
    if (result.outcome != PortalResponse::Outcome::success)
        throw portalError(PortalFailure::badAnswer, "The desktop could not share the screen.");
    return result;
}

void ScreenCastSession::closeRequest(const std::string& path) noexcept
{
    try {
        if (!hasPortalGone_)
            bus_.send(bus_.methodCall(portalName, path, requestInterface, "Close"));
    } catch (...) {
        // The bus tells the portal when this connection ends.
    }
}

PortalAbilities screenCastAbilities(SessionBus& bus, SessionBus::Limit limit)
try {
    auto call = bus.methodCall(portalName, portalPath, "org.freedesktop.DBus.Properties", "GetAll");
    append(call.get(), "s", screenCastInterface);
    const auto answer = bus.call(std::move(call), limit);
    const auto abilities = portalAbilities(answer.get());
    if (abilities.version == 0)
        throw portalError(PortalFailure::badAnswer, "The desktop portal does not say what it can do.");
    return abilities;
} catch (const PlatformError& error) {
    // How a portal puts it that it has no such interface differs from one to the next.
    if (error.code() != static_cast<std::int64_t>(PortalFailure::badAnswer))
        throw;
    throw portalError(PortalFailure::noPortal,
        "The desktop portal of this session shares no screens (ScreenCast): its part for this desktop is "
        "missing or "
        "cannot do so. "
            + std::string(error.what()));
}

} // namespace glimto
