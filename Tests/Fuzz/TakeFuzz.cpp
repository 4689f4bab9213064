// What glimto-take reads of a take besides its media: events.json, what a killed recording has left of it, a
// zoom plan, and the boxes of a segment. The first byte chooses.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <unistd.h>

#include "GlimtoTake/Plan/CameraPath.h"
#include "GlimtoTake/Plan/PointerPath.h"
#include "GlimtoTake/Takes/EventsReader.h"
#include "GlimtoTake/Takes/Fragments.h"
#include "Support/Errors.h"

namespace {

using namespace glimto;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void checkEvents(const EventsDocument& document)
{
    constexpr double length = 60; // seconds
    double last = 0;
    for (const RecordedEvent& event : document.events) {
        require(event.t >= last && event.x >= 0 && event.x <= 1 && event.y >= 0 && event.y <= 1);
        last = event.t;
    }
    const CameraPath camera(planZooms(document.events, length));
    const PointerPath pointer(document.events);
    for (double time = 0; time < length; time += 1) {
        const CameraView view = camera.at(time);
        require(view.size > 0 && view.left >= -1e-9 && view.left + view.size <= 1 + 1e-9);
        require(view.top >= -1e-9 && view.top + view.size <= 1 + 1e-9);
        require(pointer.at(time).rings.size() <= PointerPath::mostRings);
    }
}

void checkSegment(std::string_view bytes)
{
    const auto path = std::filesystem::temp_directory_path() / ("take-fuzz." + std::to_string(::getpid()));
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    const auto extent = fragmentExtent(path);
    require(extent.wholeBytes <= bytes.size() && (extent.fragmentCount > 0) == (extent.wholeBytes > 0));
    std::filesystem::remove(path);
}

void check(std::uint8_t choice, std::string_view text)
{
    switch (choice) {
    case 'e':
        return checkEvents(readEventsDocument(text));
    case 'p':
        if (const auto document = readPartialEvents(text))
            checkEvents(*document);
        return;
    case 'z':
        require(readZoomPlan(encodeZoomPlan(readZoomPlan(text))) == readZoomPlan(text));
        return;
    default:
        return checkSegment(text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0)
        return 0;
    try {
        check(bytes[0], {reinterpret_cast<const char*>(bytes) + 1, size - 1});
    } catch (const Error&) {
        return 0;
    }
    return 0;
}
