#include "Backends/Wayland/WaylandHeartbeat.h"

#include "Backends/Wayland/WaylandErrors.h"

namespace glimto {

namespace {

constexpr std::int64_t betweenQuestions = 5'000'000'000;
constexpr std::int64_t longestAnswer = 10'000'000'000;

} // namespace

WaylandHeartbeat::WaylandHeartbeat(WaylandConnection& connection)
    : connection_(connection)
{
}

void WaylandHeartbeat::beat(std::int64_t now)
{
    static constexpr wl_callback_listener listener = {
        .done = [](void* self, wl_callback*,
                    std::uint32_t) { static_cast<WaylandHeartbeat*>(self)->question_.reset(); },
    };
    if (question_) {
        if (now - asked_ > longestAnswer)
            throw waylandError(WaylandFailure::noAnswer, "The Wayland compositor does not answer.");
        return;
    }
    if (now - asked_ < betweenQuestions)
        return;
    asked_ = now;
    question_.reset(wl_display_sync(connection_.display()));
    wl_callback_add_listener(question_.get(), &listener, this);
}

} // namespace glimto
