#include "Backends/InputDevices/PointerPlacing.h"

#include <algorithm>

namespace glimto {

std::optional<HostTime> PointerPlacing::oldest() const
{
    const auto at = std::ranges::min_element(waiting_, {}, &InputEvent::time);
    return at == waiting_.end() ? std::nullopt : std::optional(at->time);
}

std::vector<InputEvent> PointerPlacing::take(HostTime until)
{
    std::ranges::stable_sort(waiting_, {}, &InputEvent::time);
    const auto end = std::ranges::upper_bound(waiting_, until, {}, &InputEvent::time);
    std::vector<InputEvent> events;
    for (auto at = waiting_.begin(); at != end; ++at) {
        if (at->type == InputEventType::mouseMoved)
            place_ = at->globalLocation;
        if (!place_)
            continue;
        events.push_back(*at);
        events.back().globalLocation = *place_;
        events.back().time = last_ = std::max(last_, at->time);
    }
    waiting_.erase(waiting_.begin(), end);
    return events;
}

} // namespace glimto
