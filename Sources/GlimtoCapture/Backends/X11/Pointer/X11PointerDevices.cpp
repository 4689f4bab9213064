#include "Backends/X11/Pointer/X11PointerDevices.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

namespace glimto {

namespace {

constexpr double fractionUnit = 4294967296.0; // 2^32

void addPlaceAxis(X11PointerDevice& device, const xcb_input_valuator_class_t& axis)
{
    if (axis.number >= device.placeAxes.size() || axis.mode != XCB_INPUT_VALUATOR_MODE_ABSOLUTE)
        return;
    device.placeAxes[axis.number] = X11PointerDevice::PlaceAxis{
        .minimum = x11Number(axis.min),
        .maximum = x11Number(axis.max),
    };
}

void addScrollAxis(X11PointerDevice& device, const xcb_input_scroll_class_t& scroll)
{
    using Direction = X11PointerDevice::ScrollAxis::Direction;
    const bool isVertical = scroll.scroll_type == XCB_INPUT_SCROLL_TYPE_VERTICAL;
    device.scrollAxes.push_back({
        .axis = scroll.number,
        .direction = isVertical ? Direction::vertical : Direction::horizontal,
        .increment = x11Number(scroll.increment),
    });
}

X11PointerDevice deviceFrom(const xcb_input_xi_device_info_t& info)
{
    X11PointerDevice device;
    for (auto classes = xcb_input_xi_device_info_classes_iterator(&info); classes.rem > 0;
         xcb_input_device_class_next(&classes)) {
        const auto* data = classes.data;
        if (data->type == XCB_INPUT_DEVICE_CLASS_TYPE_VALUATOR)
            addPlaceAxis(device, *reinterpret_cast<const xcb_input_valuator_class_t*>(data));
        else if (data->type == XCB_INPUT_DEVICE_CLASS_TYPE_SCROLL)
            addScrollAxis(device, *reinterpret_cast<const xcb_input_scroll_class_t*>(data));
        else if (data->type == XCB_INPUT_DEVICE_CLASS_TYPE_TOUCH)
            device.isTouchScreen
                = reinterpret_cast<const xcb_input_touch_class_t*>(data)->mode == XCB_INPUT_TOUCH_MODE_DIRECT;
    }
    // An axis that scrolls is none of the place, whatever its number.
    for (const auto& scroll : device.scrollAxes) {
        if (std::cmp_less(scroll.axis, device.placeAxes.size()))
            device.placeAxes[static_cast<std::size_t>(scroll.axis)].reset();
    }
    return device;
}

bool isSet(std::span<const std::uint32_t> words, std::size_t bit)
{
    return bit / 32 < words.size() && ((words[bit / 32] >> (bit % 32)) & 1U) != 0;
}

} // namespace

double x11Number(xcb_input_fp3232_t number)
{
    return number.integral + number.frac / fractionUnit;
}

X11PointerDevices::X11PointerDevices(X11Connection& connection)
    : connection_(connection)
{
}

void X11PointerDevices::read()
{
    const auto cookie = xcb_input_xi_query_device(connection_.xcb(), XCB_INPUT_DEVICE_ALL);
    const auto reply = connection_.reply<xcb_input_xi_query_device_reply_t>(cookie);
    if (!reply)
        return;
    pointers_.clear();
    for (auto infos = xcb_input_xi_query_device_infos_iterator(reply.get()); infos.rem > 0;
         xcb_input_xi_device_info_next(&infos)) {
        const auto& info = *infos.data;
        if (info.type == XCB_INPUT_DEVICE_TYPE_MASTER_POINTER)
            pointers_.push_back(info.deviceid);
        else if (info.type == XCB_INPUT_DEVICE_TYPE_SLAVE_POINTER)
            devices_[info.deviceid] = deviceFrom(info);
    }
    readButtonMaps();
}

void X11PointerDevices::readButtonMaps()
{
    std::vector<std::pair<X11PointerDevice*, xcb_input_get_device_button_mapping_cookie_t>> questions;
    for (auto& [id, device] : devices_) {
        const auto number = static_cast<std::uint8_t>(id);
        questions.emplace_back(&device, xcb_input_get_device_button_mapping(connection_.xcb(), number));
    }
    for (auto& [device, cookie] : questions) {
        const auto reply = connection_.reply<xcb_input_get_device_button_mapping_reply_t>(cookie);
        if (!reply)
            continue;
        const auto* map = xcb_input_get_device_button_mapping_map(reply.get());
        const auto arrived = std::min<std::size_t>(reply->map_size, std::size_t{4} * reply->length);
        device->buttonMap.assign(map, map + arrived);
    }
}

const X11PointerDevice& X11PointerDevices::device(xcb_input_device_id_t id) const
{
    const auto found = devices_.find(id);
    return found == devices_.end() ? unknown_ : found->second;
}

// The values stand in the order of the axes whose bits are set.
std::vector<X11AxisValue> x11AxisValues(const xcb_input_raw_button_press_event_t& event)
{
    std::vector<X11AxisValue> values;
    const std::size_t words = event.length;
    if (event.valuators_len > words)
        return values;
    const std::span mask(xcb_input_raw_button_press_valuator_mask(&event), event.valuators_len);
    const auto* numbers = reinterpret_cast<const xcb_input_fp3232_t*>(mask.data() + mask.size());
    const std::size_t count = 4 * (words - mask.size()) / sizeof(xcb_input_fp3232_t);
    for (std::size_t axis = 0; axis < 32 * mask.size() && values.size() < count; ++axis) {
        if (isSet(mask, axis))
            values.push_back({static_cast<int>(axis), x11Number(numbers[values.size()])});
    }
    return values;
}

Point x11PointerPlace(const xcb_input_xi_query_pointer_reply_t& reply)
{
    constexpr int fractionBits = 16;
    return {
        static_cast<double>(reply.root_x >> fractionBits), static_cast<double>(reply.root_y >> fractionBits)};
}

} // namespace glimto
