#include "GlimtoTake/Takes/EventsReader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include <nlohmann/json.hpp>

#include "Support/Errors.h"
#include "Support/JSONFields.h"

namespace glimto {

namespace {

constexpr const char* source = "events.json";

[[noreturn]] void fail(const std::string& what)
{
    throw PlatformError("JSON", 0, std::string(source) + ": " + what);
}

std::optional<InputEventKind> kindNamed(std::string_view text)
{
    const auto& names = inputEventKindNames;
    const auto found = std::find(names.begin(), names.end(), text);
    return found == names.end() ? std::nullopt
                                : std::optional(static_cast<InputEventKind>(found - names.begin()));
}

// Whether the event can be placed; what is outside of the picture is moved to its edge.
bool isUsable(RecordedEvent& event)
{
    constexpr double latest = 1000.0 * 3600 * 1000; // milliseconds
    for (const double value : {event.t, event.x, event.y, event.dx, event.dy}) {
        if (!std::isfinite(value))
            return false;
    }
    event.x = std::clamp(event.x, 0.0, 1.0);
    event.y = std::clamp(event.y, 0.0, 1.0);
    return event.t >= 0 && event.t <= latest;
}

// Collects the events while the text is read, so that millions of them take no more than their own room.
class EventsHandler final : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit EventsHandler(EventsDocument& document)
        : document_(document)
    {
    }

    bool isComplete() const { return sawEvents_ && version_ == EventsDocument::version; }

    bool null() override { return true; }
    bool boolean(bool value) override
    {
        if (depth_ == 1 && key_ == "cursorHidden")
            document_.cursorHidden = value;
        return true;
    }
    bool number_integer(std::int64_t value) override { return number(static_cast<double>(value), value); }
    bool number_unsigned(std::uint64_t value) override
    {
        constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return number(static_cast<double>(value), static_cast<std::int64_t>(std::min(value, most)));
    }
    bool number_float(double value, const std::string&) override
    {
        const bool fits = std::abs(value) < 9e18;
        return number(value, fits ? static_cast<std::int64_t>(value) : 0);
    }
    bool string(std::string& value) override
    {
        if (isInEvent() && key_ == "k") {
            const auto kind = kindNamed(value);
            hasKind_ = kind.has_value();
            event_.k = kind.value_or(InputEventKind::move);
        }
        return true;
    }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override
    {
        ++depth_;
        if (isInEvent()) {
            event_ = {};
            hasKind_ = false;
        } else if (depth_ == 2 && !isInEvents_) {
            section_ = key_;
        }
        return depth_ < deepest;
    }
    bool key(std::string& value) override
    {
        key_ = value;
        return true;
    }
    bool end_object() override
    {
        if (isInEvent() && hasKind_ && isUsable(event_))
            document_.events.push_back(event_);
        --depth_;
        return true;
    }
    bool start_array(std::size_t) override
    {
        ++depth_;
        if (depth_ == 2 && key_ == "events")
            isInEvents_ = sawEvents_ = true;
        return depth_ < deepest;
    }
    bool end_array() override
    {
        if (depth_ == 2)
            isInEvents_ = false;
        --depth_;
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override
    {
        return false;
    }

private:
    static constexpr int deepest = 16;

    // The document is at depth 1, its list of events at 2, an event at 3.
    bool isInEvent() const { return isInEvents_ && depth_ == 3; }

    bool number(double value, std::int64_t whole)
    {
        if (isInEvent())
            readEvent(value, whole);
        else if (depth_ == 1 && key_ == "version")
            version_ = whole;
        else if (depth_ == 2 && section_ == "clock")
            readClock(whole);
        else if (depth_ == 2 && section_ == "display")
            readDisplay(value, whole);
        return true;
    }

    void readEvent(double value, std::int64_t whole)
    {
        if (key_ == "t")
            event_.t = value;
        else if (key_ == "x")
            event_.x = value;
        else if (key_ == "y")
            event_.y = value;
        else if (key_ == "dx")
            event_.dx = value;
        else if (key_ == "dy")
            event_.dy = value;
        else if (key_ == "button" && whole >= 0 && whole <= 255)
            event_.button = static_cast<std::uint8_t>(whole);
    }

    void readClock(std::int64_t whole)
    {
        if (key_ == "firstVideoSamplePtsValue")
            document_.clock.firstVideoSamplePtsValue = whole;
        else if (key_ == "firstVideoSampleHostTimeNs")
            document_.clock.firstVideoSampleHostTimeNs = whole;
        else if (key_ == "firstVideoSamplePtsTimescale" && whole >= 0
            && whole <= std::numeric_limits<int>::max())
            document_.clock.firstVideoSamplePtsTimescale = static_cast<std::int32_t>(whole);
    }

    void readDisplay(double value, std::int64_t whole)
    {
        constexpr std::int64_t largestSide = 1 << 20;
        const auto side = static_cast<int>(std::clamp<std::int64_t>(whole, 0, largestSide));
        if (key_ == "capturePixelWidth")
            document_.display.capturePixelWidth = side;
        else if (key_ == "capturePixelHeight")
            document_.display.capturePixelHeight = side;
        else if (key_ == "pointScale" && std::isfinite(value))
            document_.display.pointScale = value;
    }

    EventsDocument& document_;
    RecordedEvent event_;
    std::string key_;
    std::string section_;
    std::int64_t version_ = 0;
    int depth_ = 0;
    bool hasKind_ = false;
    bool isInEvents_ = false;
    bool sawEvents_ = false;
};

void sortByTime(EventsDocument& document)
{
    std::stable_sort(document.events.begin(), document.events.end(),
        [](const RecordedEvent& a, const RecordedEvent& b) { return a.t < b.t; });
}

} // namespace

EventsDocument readEventsDocument(std::string_view text)
{
    EventsDocument document;
    EventsHandler handler(document);
    if (!nlohmann::json::sax_parse(text, &handler))
        fail("not JSON, or nested too deeply");
    if (!handler.isComplete())
        fail("not a track of input events");
    sortByTime(document);
    return document;
}

// Every line is JSON of its own: a document that is put together of those that are whole can be read at once.
std::optional<EventsDocument> readPartialEvents(std::string_view text)
{
    const auto headingEnd = text.find("}\n");
    if (headingEnd == std::string_view::npos)
        return std::nullopt;
    std::string whole(text.substr(0, headingEnd));
    whole += R"(,"cursorHidden":true,"events":[)";
    const char* separator = "";
    std::string_view rest = text.substr(headingEnd + 2);
    for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        const std::string_view line = rest.substr(0, end);
        if (line.size() < 2 || line.front() != '{' || line.back() != '}' || !nlohmann::json::accept(line))
            break;
        whole.append(separator).append(line);
        separator = ",";
        rest.remove_prefix(end + 1);
    }
    whole += "]}";
    try {
        return readEventsDocument(whole);
    } catch (const PlatformError&) {
        return std::nullopt;
    }
}

} // namespace glimto
