#include "Backends/X11/Pointer/X11EventRecord.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

#include <poll.h>

namespace glimto {

namespace {

constexpr std::uint8_t fromServer = 0; // the category of recorded events
constexpr std::size_t eventBytes = 32;

bool isReadable(int descriptor)
{
    pollfd entry = {.fd = descriptor, .events = POLLIN, .revents = 0};
    return ::poll(&entry, 1, 0) > 0;
}

PlatformError refusal()
{
    return x11Error(X11Failure::missingExtension, "The X server does not record its events.");
}

std::optional<X11RecordedEvent> recordedEvent(const xcb_button_press_event_t& event)
{
    using Kind = X11RecordedEvent::Kind;
    X11RecordedEvent recorded;
    switch (event.response_type & 0x7f) {
    case XCB_BUTTON_PRESS:
        recorded.kind = Kind::press;
        break;
    case XCB_BUTTON_RELEASE:
        recorded.kind = Kind::release;
        break;
    case XCB_MOTION_NOTIFY:
        recorded.kind = Kind::motion;
        break;
    default:
        return std::nullopt;
    }
    recorded.stamp = event.time;
    recorded.location = {static_cast<double>(event.root_x), static_cast<double>(event.root_y)};
    recorded.button = event.detail;
    recorded.leftIsDown = (event.state & XCB_BUTTON_MASK_1) != 0;
    recorded.rightIsDown = (event.state & XCB_BUTTON_MASK_3) != 0;
    return recorded;
}

} // namespace

std::vector<X11RecordedEvent> x11RecordedEvents(
    const xcb_record_enable_context_reply_t& part, xcb_window_t root)
{
    std::vector<X11RecordedEvent> events;
    if (part.category != fromServer)
        return events;
    const auto* data = xcb_record_enable_context_data(&part);
    const std::size_t length = std::size_t{4} * part.length;
    for (std::size_t at = 0; at + eventBytes <= length; at += eventBytes) {
        xcb_button_press_event_t event;
        std::memcpy(&event, data + at, sizeof event);
        // Of another screen of the server; clicks do not say which.
        const bool isElsewhere = event.root != XCB_NONE && event.root != root;
        if (const auto recorded = recordedEvent(event); recorded && !isElsewhere)
            events.push_back(*recorded);
    }
    return events;
}

std::unique_ptr<X11EventRecord> X11EventRecord::start()
{
    auto connection = X11Connection::open();
    connection->requireExtension(xcb_record_id, "RECORD");
    auto* const xcb = connection->xcb();
    const auto version = connection->reply<xcb_record_query_version_reply_t>(
        xcb_record_query_version(xcb, XCB_RECORD_MAJOR_VERSION, XCB_RECORD_MINOR_VERSION));
    const xcb_record_context_t context = xcb_generate_id(xcb);
    const xcb_record_client_spec_t clients = XCB_RECORD_CS_ALL_CLIENTS;
    xcb_record_range_t range = {};
    range.device_events = {.first = XCB_BUTTON_PRESS, .last = XCB_MOTION_NOTIFY};
    const auto created = xcb_record_create_context_checked(xcb, context, 0, 1, 1, &clients, &range);
    if (!version || connection->check(created))
        throw refusal();
    // The first answer says that the record has begun; each following one is a part of it.
    const auto enabled = xcb_record_enable_context(xcb, context);
    if (!connection->reply<xcb_record_enable_context_reply_t>(enabled))
        throw refusal();
    return std::unique_ptr<X11EventRecord>(new X11EventRecord(std::move(connection), enabled.sequence));
}

X11EventRecord::X11EventRecord(std::unique_ptr<X11Connection> connection, unsigned sequence)
    : connection_(std::move(connection))
    , sequence_(sequence)
{
}

std::vector<X11RecordedEvent> X11EventRecord::take()
{
    std::vector<X11RecordedEvent> events;
    takeParts(events);
    // The library reads a few kilobytes at a time, when it is asked for an event, and there are none here.
    while (isReadable(connection_->fileDescriptor())) {
        connection_->pollEvent();
        takeParts(events);
    }
    return events;
}

void X11EventRecord::takeParts(std::vector<X11RecordedEvent>& events)
{
    while (const auto part = connection_->pollReply<xcb_record_enable_context_reply_t>(sequence_)) {
        if (!*part)
            throw x11Error(X11Failure::connectionLost, "The X server has ended the record of its events.");
        std::ranges::move(x11RecordedEvents(**part, connection_->root()), std::back_inserter(events));
    }
}

} // namespace glimto
