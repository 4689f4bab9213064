#include "Backends/X11/Pointer/X11RawEvents.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include "Backends/X11/Pointer/X11PointerDevices.h"

namespace glimto {

namespace {

bool isSet(std::span<const std::uint32_t> words, std::size_t bit)
{
    return bit / 32 < words.size() && ((words[bit / 32] >> (bit % 32)) & 1U) != 0;
}

} // namespace

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
