#pragma once

#include <memory>

#include "Platform/ScreenAccess.h"

namespace glimto {

class X11Connection;

// Questions to the X display that DISPLAY names, on one connection that is opened with the first of them and
// again when it was lost. The screen may be captured when the display answers and a picture of its root window
// can be read. Used by one thread at a time.
class X11ScreenAccess final : public ScreenAccess {
public:
    X11ScreenAccess();
    ~X11ScreenAccess() override;

    bool preflightScreenCaptureAccess() override;
    std::optional<std::string> screenCaptureObstacle() override;
    std::optional<std::int32_t> frontmostProcessID() override;
    std::optional<Point> cursorLocation() override;
    std::optional<std::uint32_t> displayIDAt(Point point) override;

private:
    template <typename Question> auto ask(Question question);
    template <typename Answer, typename Question> Answer answerOr(Answer otherwise, Question question);

    std::unique_ptr<X11Connection> connection_; // null before the first question, and once lost
};

} // namespace glimto
