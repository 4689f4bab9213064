#include "GlimtoTake/Plan/PointerPath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace glimto {

namespace {

// A pointer that comes after a longer pause has stood still until shortly before.
constexpr double longestStep = 0.12; // seconds
constexpr double glide = 0.08;
constexpr double exactAroundPress = 0.04; // seconds
constexpr double smoothAwayFromPress = 0.16;

// A bell of 60 ms on each side.
constexpr std::array<double, 7> smoothingOffsets = {-0.06, -0.04, -0.02, 0, 0.02, 0.04, 0.06};
constexpr std::array<double, 7> smoothingWeights = {0.0663, 0.1239, 0.1927, 0.2342, 0.1927, 0.1239, 0.0663};

double smoothStep(double low, double high, double value)
{
    const double share = std::clamp((value - low) / (high - low), 0.0, 1.0);
    return share * share * (3 - 2 * share);
}

// The first element of a list ordered by time that comes after `seconds`.
template <typename List, typename Time> auto firstAfter(const List& list, double seconds, Time time)
{
    return std::upper_bound(list.begin(), list.end(), seconds,
        [&](double value, const auto& element) { return value < time(element); });
}

} // namespace

PointerPath::PointerPath(const std::deque<RecordedEvent>& events)
{
    places_.reserve(events.size());
    for (const RecordedEvent& event : events) {
        const Place place = {event.t / 1000, event.x, event.y};
        places_.push_back(place);
        if (event.k == InputEventKind::down || event.k == InputEventKind::up)
            presses_.push_back({place, event.k == InputEventKind::down});
        else if (event.k == InputEventKind::scroll)
            scrolls_.push_back({place.time, std::abs(event.dy) >= std::abs(event.dx) ? event.dy : 0});
    }
}

PointerPath::Place PointerPath::placeAt(double seconds) const
{
    const auto next = firstAfter(places_, seconds, [](const Place& place) { return place.time; });
    if (next == places_.begin())
        return places_.front();
    const Place& last = *std::prev(next);
    if (next == places_.end())
        return last;
    const double from = next->time - last.time > longestStep ? next->time - glide : last.time;
    if (seconds <= from || next->time <= from)
        return last;
    const double share = (seconds - from) / (next->time - from);
    return {seconds, last.x + (next->x - last.x) * share, last.y + (next->y - last.y) * share};
}

PointerPath::Place PointerPath::smoothedPlaceAt(double seconds) const
{
    Place sum;
    double weights = 0;
    for (std::size_t at = 0; at < smoothingOffsets.size(); ++at) {
        const Place place = placeAt(seconds + smoothingOffsets[at]);
        sum.x += place.x * smoothingWeights[at];
        sum.y += place.y * smoothingWeights[at];
        weights += smoothingWeights[at];
    }
    return {seconds, sum.x / weights, sum.y / weights};
}

double PointerPath::secondsToNearestPress(double seconds) const
{
    const auto next = firstAfter(presses_, seconds, [](const Press& press) { return press.place.time; });
    double nearest = std::numeric_limits<double>::infinity();
    if (next != presses_.end())
        nearest = next->place.time - seconds;
    if (next != presses_.begin())
        nearest = std::min(nearest, seconds - std::prev(next)->place.time);
    return nearest;
}

PointerState PointerPath::at(double seconds) const
{
    PointerState state;
    if (places_.empty())
        return state;
    state.isVisible = true;
    const Place exact = placeAt(seconds);
    const double smooth = smoothStep(exactAroundPress, smoothAwayFromPress, secondsToNearestPress(seconds));
    const Place smoothed = smooth > 0 ? smoothedPlaceAt(seconds) : exact;
    state.x = exact.x + (smoothed.x - exact.x) * smooth;
    state.y = exact.y + (smoothed.y - exact.y) * smooth;

    auto press = firstAfter(presses_, seconds, [](const Press& each) { return each.place.time; });
    state.isPressed = press != presses_.begin() && std::prev(press)->isDown;
    while (press != presses_.begin() && state.rings.size() < mostRings) {
        --press;
        const double age = (seconds - press->place.time) / ringSeconds;
        if (age >= 1)
            break;
        if (press->isDown)
            state.rings.push_back({press->place.x, press->place.y, age});
    }
    const auto scroll = firstAfter(scrolls_, seconds, [](const Scroll& each) { return each.time; });
    if (scroll != scrolls_.begin()) {
        const Scroll& last = *std::prev(scroll);
        const double left = 1 - (seconds - last.time) / scrollSeconds;
        if (left > 0 && last.amount != 0)
            state.scroll = last.amount > 0 ? left : -left;
    }
    return state;
}

} // namespace glimto
