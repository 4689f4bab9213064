#include "Backends/X11/Pointer/X11PointerListener.h"

#include "Platform/ErrorDomains.h"

#include <algorithm>
#include <array>

namespace glimto {

namespace {

constexpr std::chrono::seconds measurementInterval(10);
constexpr int firstMeasurements = 5;
constexpr std::uint16_t majorVersion = 2;
constexpr std::uint16_t leastMinorVersion = 1; // raw events also while another client holds a grab
constexpr std::uint16_t minorVersion = 2; // touches
// What happened that long before a question is sure to be known when the answer comes.
constexpr std::chrono::milliseconds clockTolerance(2);

struct EventMask {
    xcb_input_event_mask_t head;
    std::uint32_t mask;
};

EventMask maskFor(xcb_input_device_id_t device, std::uint32_t mask)
{
    return {.head = {.deviceid = device, .mask_len = 1}, .mask = mask};
}

} // namespace

std::unique_ptr<X11PointerListener> X11PointerListener::open()
{
    return std::make_unique<X11PointerListener>(X11Connection::open());
}

X11PointerListener::X11PointerListener(std::unique_ptr<X11Connection> connection)
    : connection_(std::move(connection))
    , devices_(*connection_)
    , width_(connection_->screen().width_in_pixels)
    , height_(connection_->screen().height_in_pixels)
{
    connection_->requireExtension(xcb_input_id, "XInputExtension");
    connection_->requireExtension(xcb_record_id, "RECORD");
    inputOpcode_ = xcb_get_extension_data(connection_->xcb(), &xcb_input_id)->major_opcode;
    const auto cookie = xcb_input_xi_query_version(connection_->xcb(), majorVersion, minorVersion);
    const auto version = connection_->reply<xcb_input_xi_query_version_reply_t>(cookie);
    const auto offered = version ? std::pair(version->major_version, version->minor_version)
                                 : std::pair<std::uint16_t, std::uint16_t>();
    hasTouches_ = offered >= std::pair(majorVersion, minorVersion);
    if (offered < std::pair(majorVersion, leastMinorVersion))
        throw x11Error(X11Failure::missingExtension, "The X server has no X Input extension of version 2.1.");
}

void X11PointerListener::listen()
{
    clockWindow_ = makeX11TimeWindow(*connection_);
    for (int count = 0; count < firstMeasurements; ++count)
        measureClock();
    record_ = X11EventRecord::start();
    selectEvents();
    devices_.read();
    devicesAreOld_ = false;
}

void X11PointerListener::askForTime()
{
    timeAskedAt_ = HostClock::now();
    nextMeasurement_ = *timeAskedAt_ + measurementInterval;
    askForX11Time(*connection_, clockWindow_);
}

void X11PointerListener::measureClock()
{
    askForTime();
    connection_->reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection_->xcb()));
    drain();
}

void X11PointerListener::selectEvents()
{
    // Every device's raw events come once more as those of the pointer that the device moves.
    constexpr std::uint32_t raw = XCB_INPUT_XI_EVENT_MASK_RAW_MOTION
        | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    constexpr std::uint32_t changes
        = XCB_INPUT_XI_EVENT_MASK_HIERARCHY | XCB_INPUT_XI_EVENT_MASK_DEVICE_CHANGED;
    constexpr std::uint32_t touches = XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_BEGIN
        | XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_UPDATE | XCB_INPUT_XI_EVENT_MASK_RAW_TOUCH_END;
    const std::array<EventMask, 2> masks = {
        maskFor(XCB_INPUT_DEVICE_ALL_MASTER, hasTouches_ ? raw | touches : raw),
        maskFor(XCB_INPUT_DEVICE_ALL, changes),
    };
    const auto input = xcb_input_xi_select_events_checked(
        connection_->xcb(), connection_->root(), masks.size(), &masks[0].head);
    const std::uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_->xcb(), connection_->root(), XCB_CW_EVENT_MASK, &structure);
    if (const auto error = connection_->check(input))
        throw PlatformError(
            errorDomain::x11, error->error_code, "The X server does not give its input events.");
}

void X11PointerListener::receive()
{
    drain();
    drainRecord(); // often, because the server does not keep much of it
    // An answer may have come together with events that follow it.
    while (receiveAnswers())
        drain();
}

void X11PointerListener::drain()
{
    while (const auto event = connection_->pollEvent())
        handle(*event);
}

void X11PointerListener::handle(const xcb_generic_event_t& event)
{
    switch (event.response_type & 0x7f) {
    case 0: // an error: a device was asked about that has just gone
    case XCB_MAPPING_NOTIFY:
        devicesAreOld_ = true;
        break;
    case XCB_PROPERTY_NOTIFY:
        handleTime(reinterpret_cast<const xcb_property_notify_event_t&>(event).time);
        break;
    case XCB_CONFIGURE_NOTIFY: {
        const auto& changed = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        width_ = changed.width;
        height_ = changed.height;
        break;
    }
    case XCB_GE_GENERIC:
        handleInput(reinterpret_cast<const xcb_ge_generic_event_t&>(event));
        break;
    default:
        break;
    }
}

void X11PointerListener::handleTime(std::uint32_t stamp)
{
    if (timeAskedAt_)
        clock_.add({.stamp = stamp, .before = *timeAskedAt_, .after = HostClock::now()});
    timeAskedAt_.reset();
}

void X11PointerListener::handleInput(const xcb_ge_generic_event_t& event)
{
    if (event.extension != inputOpcode_)
        return;
    switch (event.event_type) {
    case XCB_INPUT_RAW_MOTION:
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        addRaw(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event));
        break;
    case XCB_INPUT_RAW_TOUCH_BEGIN:
    case XCB_INPUT_RAW_TOUCH_UPDATE:
    case XCB_INPUT_RAW_TOUCH_END:
        addTouch(reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event));
        break;
    case XCB_INPUT_HIERARCHY:
        handleHierarchy(reinterpret_cast<const xcb_input_hierarchy_event_t&>(event));
        break;
    case XCB_INPUT_DEVICE_CHANGED:
        // That another device moves a pointer than before is no change of a device.
        if (reinterpret_cast<const xcb_input_device_changed_event_t&>(event).reason
            == XCB_INPUT_CHANGE_REASON_DEVICE_CHANGE)
            devicesAreOld_ = true;
        break;
    default:
        break;
    }
}

void X11PointerListener::addRaw(const xcb_input_raw_button_press_event_t& event)
{
    // The server makes buttons of a wheel's motion for old clients; the motion itself was there before.
    const bool isMotion = event.event_type == XCB_INPUT_RAW_MOTION;
    hasHeard_ = true;
    if (!isMotion && (event.flags & XCB_INPUT_POINTER_EVENT_FLAGS_POINTER_EMULATED) != 0)
        return;
    if (std::exchange(devicesAreOld_, false))
        devices_.read();
    using Kind = X11RawAddition::Kind;
    const auto& device = devices_.device(event.sourceid);
    X11RawAddition addition;
    addition.stamp = event.time;
    if (isMotion) {
        addition.lines = device.scrollLines(x11AxisValues(event));
    } else {
        addition.kind = event.event_type == XCB_INPUT_RAW_BUTTON_PRESS ? Kind::press : Kind::release;
        addition.button = device.logicalButton(event.detail);
    }
    // Of plain motions the record tells all there is to know.
    if (!isMotion || !addition.lines.isZero())
        placed_.add(addition);
}

void X11PointerListener::addTouch(const xcb_input_raw_button_press_event_t& event)
{
    hasHeard_ = true;
    if (std::exchange(devicesAreOld_, false))
        devices_.read();
    const auto& device = devices_.device(event.sourceid);
    if (!device.isTouchScreen)
        return;
    const auto place = device.place(x11AxisValues(event), width_, height_);
    const X11Touches::Touch touch
        = {.device = event.sourceid, .id = event.detail, .stamp = event.time, .x = place.x, .y = place.y};
    std::optional<X11RawAddition> addition;
    if (event.event_type == XCB_INPUT_RAW_TOUCH_BEGIN)
        addition = touches_.begin(touch);
    else if (event.event_type == XCB_INPUT_RAW_TOUCH_UPDATE)
        addition = touches_.move(touch);
    else
        addition = touches_.end(touch);
    if (addition)
        placed_.add(*addition);
}

void X11PointerListener::handleHierarchy(const xcb_input_hierarchy_event_t& event)
{
    devicesAreOld_ = true;
    constexpr std::uint32_t gone
        = XCB_INPUT_HIERARCHY_MASK_SLAVE_REMOVED | XCB_INPUT_HIERARCHY_MASK_DEVICE_DISABLED;
    if ((event.flags & gone) == 0)
        return;
    for (const auto& addition : touches_.endAll(event.time))
        placed_.add(addition);
}

void X11PointerListener::ask()
{
    if (std::exchange(devicesAreOld_, false))
        devices_.read();
    const auto now = HostClock::now();
    if (now >= nextMeasurement_ || clock_.needsMeasurement())
        askForTime();
    hasHeard_ = false;
    Question question;
    question.askedAt = now;
    for (const auto pointer : devices_.pointers()) {
        question.cookies.push_back(
            xcb_input_xi_query_pointer(connection_->xcb(), connection_->root(), pointer));
    }
    if (!question.cookies.empty())
        question_ = std::move(question);
    connection_->flush();
}

// Whether an answer is there to every part of the question.
bool X11PointerListener::receiveAnswers()
{
    while (question_ && question_->answeredCount < question_->cookies.size()) {
        const auto cookie = question_->cookies[question_->answeredCount];
        const auto answer = connection_->pollReply<xcb_input_xi_query_pointer_reply_t>(cookie.sequence);
        if (!answer)
            return false;
        ++question_->answeredCount;
        if (*answer)
            question_->places.push_back(x11PointerPlace(**answer));
        else
            devicesAreOld_ = true;
    }
    if (!question_)
        return false;
    // What came before the answer is to be known before it counts.
    const Question answered = *std::exchange(question_, std::nullopt);
    drain();
    settle(answered);
    return true;
}

void X11PointerListener::settle(const Question& answered)
{
    drainRecord();
    placed_.settle(clock_, HostClock::now(), answered.askedAt - clockTolerance);
    if (answered.places.empty())
        return;
    // With several pointers nothing says which of them the record is about.
    const Point place = answered.places.front();
    if (answered.places.size() == 1 && !hasHeard_)
        placed_.setPlace(place, answered.askedAt);
    else
        placed_.setFirstPlace(place);
}

void X11PointerListener::drainRecord()
{
    for (const auto& event : record_->take())
        placed_.add(event);
}

void X11PointerListener::settleUnanswered()
{
    const auto now = HostClock::now();
    placed_.settle(clock_, now, now);
}

} // namespace glimto
