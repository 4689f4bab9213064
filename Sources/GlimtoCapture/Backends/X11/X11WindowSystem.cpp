#include "Backends/X11/X11WindowSystem.h"

#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <utility>

#include <xcb/res.h>
#include <xcb/xfixes.h>

#include "Backends/Streams/PlainScreenCapture.h"
#include "Backends/X11/Clipboard/X11Pasteboard.h"
#include "Backends/X11/Connection/X11AtomNames.h"
#include "Backends/X11/Connection/X11ClientProcesses.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Displays.h"
#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Pictures/X11CaptureStream.h"
#include "Backends/X11/Pictures/X11StillCapture.h"
#include "Backends/X11/Pointer/X11EventTap.h"
#include "Backends/X11/Windows/X11ShareableContentProvider.h"
#include "Platform/ErrorDomains.h"
#include "Platform/ScreenAccess.h"
#include "Support/Guarded.h"

namespace glimto {

namespace {

struct AtomNames : X11AtomSet {
    using X11AtomSet::X11AtomSet;

    X11Atom activeWindow{*this, "_NET_ACTIVE_WINDOW"};
    X11Atom processID{*this, "_NET_WM_PID"};
};

// Questions to the X display that DISPLAY names, each on a connection of its own. The screen may be
// captured when the display answers and a picture of its root window can be read.
class X11ScreenAccess final : public ScreenAccess {
public:
    ScreenCaptureAccess preflightScreenCaptureAccess() override
    {
        try {
            auto connection = opened();
            constexpr auto allPlanes = std::numeric_limits<std::uint32_t>::max();
            const auto cookie = xcb_get_image(
                connection->xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection->root(), 0, 0, 1, 1, allPlanes);
            if (!connection->reply<xcb_get_image_reply_t>(cookie))
                return ScreenCaptureAccess::denied("The X server does not let this program read the screen.");
            stayConnected(std::move(connection));
            return {};
        } catch (const PlatformError& error) {
            if (error.domain() == errorDomain::x11)
                return ScreenCaptureAccess::denied(error.what());
        } catch (const std::exception&) {
            // No memory, as below.
        }
        // There was nothing to ask with, such as a thread. The next step misses it as well, and tells.
        return {.verdict = ScreenCaptureAccess::Verdict::onlyAskingTells, .obstacle = {}};
    }

    // The same number as the owner of that window has in the shareable content.
    std::optional<std::int32_t> frontmostProcessID() override
    {
        const auto process = answerOr(std::int32_t{0}, [](X11Connection& connection) {
            xcb_prefetch_extension_data(connection.xcb(), &xcb_res_id);
            const X11Interned<AtomNames> atoms(connection);
            const auto active = X11Property::read(connection, connection.root(), atoms.activeWindow);
            const xcb_window_t window = active.firstNumber().value_or(XCB_WINDOW_NONE);
            if (window == XCB_WINDOW_NONE)
                return 0;
            const auto claimed = X11Property::read(connection, window, atoms.processID).processID();
            const auto owner = x11ClientProcesses(connection, {&window, 1}).front();
            return owner != 0 ? owner : claimed;
        });
        return process != 0 ? std::optional(process) : std::nullopt;
    }

    std::optional<Point> cursorLocation() override
    {
        return answerOr(std::optional<Point>(), [](X11Connection& connection) -> std::optional<Point> {
            const auto cookie = xcb_query_pointer(connection.xcb(), connection.root());
            const auto pointer = connection.reply<xcb_query_pointer_reply_t>(cookie);
            if (!pointer || !pointer->same_screen)
                return std::nullopt;
            return Point{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
        });
    }

    std::optional<std::uint32_t> displayIDAt(Point point) override
    {
        return answerOr(std::optional<std::uint32_t>(), [point](X11Connection& connection) {
            std::optional<std::uint32_t> found;
            for (const auto& display : x11Displays(connection)) {
                if (!found && display.frame.contains(point))
                    found = display.displayID;
            }
            return found;
        });
    }

private:
    static std::unique_ptr<X11Connection> opened()
    {
        auto connection = X11Connection::open();
        xcb_prefetch_extension_data(connection->xcb(), &xcb_xfixes_id);
        return connection;
    }

    // The answer that `question` finds with a new connection; `otherwise` when it cannot be found out.
    template <typename Answer, typename Question> Answer answerOr(Answer otherwise, Question question)
    {
        try {
            auto connection = opened();
            const Answer answer = question(*connection);
            stayConnected(std::move(connection));
            return answer;
        } catch (const std::exception&) {
            return otherwise;
        }
    }

    // A server that has no other clients, such as Xvfb on its own, would start anew after each question. The
    // first connection stays, since it may have the place among the clients that the pointer's maker had
    // (xsetroot, say), and servers refuse the pointer's shape while nobody has it. Servers without XFIXES,
    // which nothing can be recorded from, abort when one of two clients leaves.
    void stayConnected(std::unique_ptr<X11Connection> answered)
    {
        if (!answered->hasExtension(xcb_xfixes_id))
            return;
        presence_.with([&](std::unique_ptr<X11Connection>& presence) {
            if (!presence || xcb_connection_has_error(presence->xcb()) != 0)
                presence = std::move(answered);
        });
    }

    Guarded<std::unique_ptr<X11Connection>> presence_;
};

class X11WindowSystem final : public WindowSystem {
public:
    const char* name() const override { return "X11"; }
    WindowSystemCapabilities capabilities() const override { return {}; }
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }
    StillCapture* stills() override { return stills_.get(); }

private:
    X11ScreenAccess access_;
    X11ShareableContentProvider content_;
    PlainScreenCapture capture_{[](const CaptureRequest& request) {
        return openedAsAsked(request, openX11CaptureStream(request.filter, request.configuration));
    }};
    X11EventTapFactory eventTaps_;
    X11Pasteboard pasteboard_;
    std::unique_ptr<StillCapture> stills_ = makeX11StillCapture();
};

} // namespace

std::unique_ptr<WindowSystem> makeX11WindowSystem()
{
    return std::make_unique<X11WindowSystem>();
}

} // namespace glimto
