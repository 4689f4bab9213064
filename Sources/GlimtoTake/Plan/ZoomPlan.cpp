#include "GlimtoTake/Plan/ZoomPlan.h"

#include <algorithm>

#include "GlimtoTake/Plan/CameraPath.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

constexpr double longestPause = 3; // seconds between two actions of one zoom
constexpr double restBefore = 0.3; // seconds: the picture has come to rest when the first action happens
constexpr double restAfter = 1.3; // what an action brings about is seen as well
constexpr double closest = 2;
constexpr double farthest = 1.35; // what would move less is not worth a movement
constexpr double usedShare = 0.6; // of the view's sides, for the actions; the rest is margin
constexpr double shortestRest = 0.2; // seconds around an action, when the next place is soon to be seen
constexpr int planVersion = 1;
constexpr double largestScale = 8;

struct Action {
    double time = 0; // seconds
    double x = 0;
    double y = 0;
};

// Actions near each other.
struct Cluster {
    double first = 0; // seconds
    double last = 0;
    double left = 0;
    double right = 0;
    double top = 0;
    double bottom = 0;

    explicit Cluster(const Action& action)
        : first(action.time)
        , last(action.time)
        , left(action.x)
        , right(action.x)
        , top(action.y)
        , bottom(action.y)
    {
    }

    // With one that comes after it.
    Cluster with(const Cluster& next) const
    {
        Cluster larger = *this;
        larger.last = next.last;
        larger.left = std::min(left, next.left);
        larger.right = std::max(right, next.right);
        larger.top = std::min(top, next.top);
        larger.bottom = std::max(bottom, next.bottom);
        return larger;
    }

    double extent() const { return std::max(right - left, bottom - top); }
    bool fits() const { return extent() <= usedShare / farthest; }

    // From its first action to its last; where they do not fit in, the whole picture.
    Zoom zoom() const
    {
        if (!fits())
            return {first, last};
        const double scale = extent() > 0 ? std::min(closest, usedShare / extent()) : closest;
        return {first, last, (left + right) / 2, (top + bottom) / 2, scale};
    }

    CameraView view() const { return viewOf(zoom()); }

    // When the camera may leave: after the last action, and not before it can have come from the take's
    // beginning.
    double done() const { return std::max(last, movementSeconds({}, view())); }
};

// Presses, what is dragged to, and scrolls.
bool isAction(const RecordedEvent& event)
{
    return event.k == InputEventKind::down || event.k == InputEventKind::up
        || event.k == InputEventKind::scroll;
}

// Whether the camera has time to move from one to the other.
bool canBeFollowed(const Cluster& from, const Cluster& to)
{
    return to.first - from.done() >= movementSeconds(from.view(), to.view()) + 2 * shortestRest;
}

std::vector<Cluster> clusters(const std::deque<RecordedEvent>& events, double duration)
{
    std::vector<Cluster> found;
    for (const RecordedEvent& event : events) {
        const Action action = {event.t / 1000, event.x, event.y};
        if (!isAction(event) || action.time > duration)
            continue;
        found.emplace_back(action);
        while (found.size() > 1) {
            const Cluster& next = found.back();
            Cluster& before = *std::prev(found.end(), 2);
            const Cluster both = before.with(next);
            const bool isNear = next.first - before.last <= longestPause && both.fits();
            if (!isNear && canBeFollowed(before, next))
                break;
            before = both;
            found.pop_back();
        }
    }
    return found;
}

[[noreturn]] void refuse(std::size_t index, const std::string& what)
{
    throw PlatformError("JSON", 0, "zoom plan: zooms[" + std::to_string(index) + "] " + what);
}

} // namespace

std::vector<Zoom> planZooms(const std::deque<RecordedEvent>& events, double duration)
{
    std::vector<Zoom> zooms;
    double lastDone = 0;
    for (const Cluster& cluster : clusters(events, duration)) {
        Zoom zoom = cluster.zoom();
        const double movement = movementSeconds({}, cluster.view());
        zoom.from = std::max(0.0, cluster.first - restBefore - movement);
        zoom.to = cluster.done() + restAfter + movement;
        if (!zooms.empty() && zoom.from < zooms.back().to + shortestWholeView) {
            // From one place to the next at once, halfway between the actions.
            zoom.from = (lastDone + cluster.first) / 2;
            zooms.back().to = zoom.from;
        }
        lastDone = cluster.done();
        zooms.push_back(zoom);
    }
    return zooms;
}

std::string encodeZoomPlan(const std::vector<Zoom>& zooms)
{
    return encodePrettyJSON({{"version", planVersion}, {"zooms", jsonOf(zooms)}}) + "\n";
}

std::vector<Zoom> readZoomPlan(std::string_view text)
{
    const auto json = parseJSON(text, "zoom plan");
    const JSONFields fields(json, "zoom plan");
    if (fields.integer<int>("version") != planVersion)
        throw PlatformError("JSON", 0, "zoom plan: its version is not supported");
    std::vector<Zoom> zooms;
    double end = 0;
    for (const JSONFields& object : fields.objects("zooms")) {
        Zoom zoom;
        readFields(object, zoom);
        const std::size_t index = zooms.size();
        if (!(zoom.from >= end && zoom.to > zoom.from && zoom.to < 1e7))
            refuse(index, "begins before the one before it ends, or ends before it begins");
        if (!(zoom.x >= 0 && zoom.x <= 1 && zoom.y >= 0 && zoom.y <= 1))
            refuse(index, "has its middle outside of the picture");
        if (!(zoom.scale >= 1 && zoom.scale <= largestScale))
            refuse(index, "has a scale that is not from 1 to 8");
        end = zoom.to;
        zooms.push_back(zoom);
    }
    return zooms;
}

} // namespace glimto
