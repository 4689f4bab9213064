#include "Backends/X11/X11ScreenAccess.h"

#include <exception>
#include <limits>

#include "Backends/X11/X11Connection.h"
#include "Backends/X11/X11Displays.h"

namespace glimto {

namespace {

// The answer that `question` finds with a new connection; `otherwise` when it cannot be found out.
template <typename Answer, typename Question> Answer answerOr(Answer otherwise, Question question)
{
    try {
        const auto connection = X11Connection::open();
        return question(*connection);
    } catch (const std::exception&) {
        return otherwise;
    }
}

} // namespace

bool X11ScreenAccess::preflightScreenCaptureAccess()
{
    return !screenCaptureObstacle();
}

std::optional<std::string> X11ScreenAccess::screenCaptureObstacle()
{
    try {
        const auto connection = X11Connection::open();
        constexpr auto allPlanes = std::numeric_limits<std::uint32_t>::max();
        const auto cookie = xcb_get_image(
            connection->xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection->root(), 0, 0, 1, 1, allPlanes);
        if (!connection->reply<xcb_get_image_reply_t>(cookie))
            return "The X server does not let this program read the screen.";
        return std::nullopt;
    } catch (const std::exception& error) {
        return error.what();
    }
}

std::optional<Point> X11ScreenAccess::cursorLocation()
{
    return answerOr(std::optional<Point>(), [](X11Connection& connection) -> std::optional<Point> {
        const auto cookie = xcb_query_pointer(connection.xcb(), connection.root());
        const auto pointer = connection.reply<xcb_query_pointer_reply_t>(cookie);
        if (!pointer || !pointer->same_screen)
            return std::nullopt;
        return Point{static_cast<double>(pointer->root_x), static_cast<double>(pointer->root_y)};
    });
}

std::optional<std::uint32_t> X11ScreenAccess::displayIDAt(Point point)
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

} // namespace glimto
