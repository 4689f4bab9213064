#include "GlimtoTake/Plan/ZoomPlan.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "Support/Errors.h"
#include "Support/JSONText.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

constexpr double longestPause = 3; // seconds between two actions of one zoom
constexpr double leadIn = 1.0; // the picture has moved closer when the first action happens
constexpr double leadOut = 1.6; // what an action brings about is seen as well
constexpr double closest = 2;
constexpr double farthest = 1.35; // what would move less is not worth a movement
constexpr double usedShare = 0.6; // of the view's sides, for the actions; the rest is margin
constexpr double shortestZoom = 1.5; // seconds
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

    Cluster with(const Action& action) const
    {
        Cluster larger = *this;
        larger.last = action.time;
        larger.left = std::min(left, action.x);
        larger.right = std::max(right, action.x);
        larger.top = std::min(top, action.y);
        larger.bottom = std::max(bottom, action.y);
        return larger;
    }

    double extent() const { return std::max(right - left, bottom - top); }
    bool fits() const { return extent() <= usedShare / farthest; }

    Zoom zoom() const
    {
        const double scale = extent() > 0 ? std::min(closest, usedShare / extent()) : closest;
        return {first - leadIn, last + leadOut, (left + right) / 2, (top + bottom) / 2, scale};
    }
};

// Presses, what is dragged to, and scrolls.
bool isAction(const RecordedEvent& event)
{
    return event.k == InputEventKind::down || event.k == InputEventKind::up
        || event.k == InputEventKind::scroll;
}

std::vector<Cluster> clusters(const std::deque<RecordedEvent>& events, double duration)
{
    std::vector<Cluster> found;
    for (const RecordedEvent& event : events) {
        const Action action = {event.t / 1000, event.x, event.y};
        if (!isAction(event) || action.time > duration)
            continue;
        if (!found.empty() && action.time - found.back().last <= longestPause) {
            if (const Cluster larger = found.back().with(action); larger.fits()) {
                found.back() = larger;
                continue;
            }
        }
        found.emplace_back(action);
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
    double lastAction = 0;
    for (const Cluster& cluster : clusters(events, duration)) {
        Zoom zoom = cluster.zoom();
        if (!zooms.empty() && zoom.from < zooms.back().to) {
            // From one place to the next at once, halfway between the actions.
            const double between = (lastAction + cluster.first) / 2;
            zooms.back().to = std::max(between, zooms.back().from + shortestZoom);
            zoom.from = zooms.back().to;
        }
        zoom.from = std::clamp(zoom.from, 0.0, duration);
        zoom.to = std::clamp(std::max(zoom.to, zoom.from + shortestZoom), 0.0, duration);
        lastAction = cluster.last;
        if (zoom.to - zoom.from >= shortestZoom)
            zooms.push_back(zoom);
    }
    return zooms;
}

std::string encodeZoomPlan(const std::vector<Zoom>& zooms)
{
    auto list = nlohmann::json::array();
    for (const Zoom& zoom : zooms)
        list.push_back(
            {{"from", zoom.from}, {"to", zoom.to}, {"x", zoom.x}, {"y", zoom.y}, {"scale", zoom.scale}});
    return encodePrettyJSON({{"version", planVersion}, {"zooms", list}}) + "\n";
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
        const Zoom zoom = {object.number("from"), object.number("to"), object.number("x"), object.number("y"),
            object.number("scale")};
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
