#pragma once

#include <memory>
#include <string>

#include "Backends/Portal/PortalAnswers.h"
#include "Backends/Portal/SessionBus.h"
#include "Support/FileDescriptor.h"

namespace glimto {

// One session of the ScreenCast portal, from the question to the user to the stream in PipeWire
// (org.freedesktop.portal.ScreenCast, versions 1 to 5). One thread at a time.
class ScreenCastSession {
public:
    struct Wish {
        PortalSourceKind sourceKind = PortalSourceKind::monitor;
        bool showsCursor = true;
        std::string restoreToken; // of an earlier session; empty for none
    };
    struct Grant {
        PortalStream stream;
        std::string restoreToken; // for the next session; empty for none
        PortalCursorMode cursorMode = PortalCursorMode::embedded;
    };

    explicit ScreenCastSession(SessionBus& bus);

    // Closes the session, and with it a question that is still asked.
    ~ScreenCastSession();
    ScreenCastSession(const ScreenCastSession&) = delete;
    ScreenCastSession& operator=(const ScreenCastSession&) = delete;

    // Asks the user, unless the token spares that. The user may take as long as they like; all else has
    // limits. Throws PlatformError: captureDeclined() when the user or the system says no, and what
    // SessionBus throws.
    Grant open(const Wish& wish);

    // Where PipeWire shows the stream and nothing else.
    FileDescriptor openPipeWireRemote();

    // Throws PlatformError sourceGone once the user or the system has closed the session.
    void check() const;

    // Hears of that for a moment longer.
    void waitForClosing(SessionBus::Limit limit) noexcept;

private:
    PortalResponse request(const char* member, const std::function<void(sd_bus_message*)>& arguments,
        const std::function<void(sd_bus_message*)>& options, SessionBus::Limit limit);
    void closeRequest(const std::string& path) noexcept;

    SessionBus& bus_;
    std::string senderElement_; // this connection's part of object paths
    std::string handle_; // the session's object path, once there is one
    bool isClosed_ = false;
    bool hasPortalGone_ = false;
    std::shared_ptr<SessionBus::Listener> closedListener_;
    std::shared_ptr<SessionBus::Listener> ownerListener_;
    int requestCount_ = 0;
};

// What the portal of this session can do, without asking the user. Throws PlatformError when there is none
// that shares screens, or it does not answer within `limit`.
PortalAbilities screenCastAbilities(SessionBus& bus, SessionBus::Limit limit);

} // namespace glimto
