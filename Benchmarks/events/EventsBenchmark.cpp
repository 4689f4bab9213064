// How long the end of a recording waits for events.json: a million events placed on the timeline, then
// encoded and written, beside the same document encoded by nlohmann-json (ordered keys).

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "InputEvents/InputEventTrack.h"
#include "Support/AtomicFile.h"

namespace {

using namespace glimto;

constexpr int eventCount = 1'000'000;
constexpr int runs = 5;
constexpr std::int64_t anchorNs = 5'000'000'000'123;

// A pointer that circles at 1000 events a second, clicks and scrolls.
InputEvent eventAt(int index)
{
    constexpr InputEventType types[] = {InputEventType::mouseMoved, InputEventType::mouseMoved,
        InputEventType::mouseMoved, InputEventType::leftMouseDown, InputEventType::leftMouseDragged,
        InputEventType::leftMouseUp, InputEventType::mouseMoved, InputEventType::scrollWheel};
    return {.type = types[index % 8],
        .time = HostTime(std::chrono::nanoseconds(anchorNs + index * std::int64_t{1'000'003})),
        .globalLocation = {static_cast<double>(index % 1919), static_cast<double>(index * 7 % 1079)},
        .scrollDeltaY = index % 3 - 1.0,
        .scrollDeltaX = 0};
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void writeDocument(const EventsDocument& document, const std::filesystem::path& path)
{
    AtomicFile file(path);
    encodeEventsDocument(document,
        [&](std::string_view piece) { file.write(std::as_bytes(std::span(piece.data(), piece.size()))); });
    file.commit();
}

std::size_t encodedByPeer(const EventsDocument& document)
{
    constexpr const char* kinds[] = {"down", "up", "move", "scroll"};
    auto events = nlohmann::ordered_json::array();
    for (const RecordedEvent& event : document.events) {
        nlohmann::ordered_json object
            = {{"t", event.t}, {"k", kinds[static_cast<int>(event.k)]}, {"x", event.x}, {"y", event.y}};
        if (event.button)
            object["button"] = *event.button;
        if (event.k == InputEventKind::scroll) {
            object["dx"] = event.dx;
            object["dy"] = event.dy;
        }
        events.push_back(std::move(object));
    }
    return events.dump().size();
}

} // namespace

int main()
{
    const auto path = std::filesystem::temp_directory_path() / "glimto-events-benchmark.json";
    double placing = 1e9;
    double encoding = 1e9;
    double writing = 1e9;
    double peer = 1e9;
    std::size_t bytes = 0;
    for (int run = 0; run < runs; ++run) {
        InputEventTrack track({.globalFrame = {0, 0, 1920, 1080},
            .pointScale = 1,
            .capturePixelWidth = 1920,
            .capturePixelHeight = 1080});
        for (int index = 0; index < eventCount; ++index)
            track.append(eventAt(index));

        auto start = std::chrono::steady_clock::now();
        track.setClockAnchor({anchorNs, 1'000'000'000, anchorNs});
        const EventsDocument document = track.finish(CursorInVideo::hidden);
        placing = std::min(placing, secondsSince(start));

        bytes = 0;
        start = std::chrono::steady_clock::now();
        encodeEventsDocument(document, [&](std::string_view piece) { bytes += piece.size(); });
        encoding = std::min(encoding, secondsSince(start));

        start = std::chrono::steady_clock::now();
        writeDocument(document, path);
        writing = std::min(writing, secondsSince(start));

        start = std::chrono::steady_clock::now();
        if (encodedByPeer(document) == 0)
            return EXIT_FAILURE;
        peer = std::min(peer, secondsSince(start));
    }
    std::filesystem::remove(path);
    std::printf("%d events, %zu bytes, best of %d runs\n", eventCount, bytes, runs);
    std::printf("placed on the timeline  %.3f s\n", placing);
    std::printf("encoded                 %.3f s\n", encoding);
    std::printf("encoded and written     %.3f s\n", writing);
    std::printf("encoded by the peer     %.3f s\n", peer);
    return EXIT_SUCCESS;
}
