#include "Backends/InputDevices/PointerPlacing.h"

#include <algorithm>

namespace glimto {

std::optional<std::int64_t> PointerPlacing::oldest() const
{
    const auto at = std::ranges::min_element(waiting_, {}, &InputEvent::hostNs);
    return at == waiting_.end() ? std::nullopt : std::optional(at->hostNs);
}

std::vector<InputEvent> PointerPlacing::take(std::int64_t until)
{
    std::ranges::stable_sort(waiting_, {}, &InputEvent::hostNs);
    const auto end = std::ranges::upper_bound(waiting_, until, {}, &InputEvent::hostNs);
    std::vector<InputEvent> events;
    for (auto at = waiting_.begin(); at != end; ++at) {
        if (at->type == InputEventType::mouseMoved)
            place_ = at->globalLocation;
        if (!place_)
            continue;
        events.push_back(*at);
        events.back().globalLocation = *place_;
        events.back().hostNs = last_ = std::max(last_, at->hostNs);
    }
    waiting_.erase(waiting_.begin(), end);
    return events;
}

} // namespace glimto
