#pragma once

#include <vector>

#include <xcb/xinput.h>

#include "Backends/X11/Pointer/X11PointerDevice.h"
#include "Platform/Geometry.h"

namespace glimto {

// The axes that the event is about and their values, in order of the axes. It is as long as it
// says in `length`; whatever else stands in it, no more is read.
std::vector<X11AxisValue> x11AxisValues(const xcb_input_raw_button_press_event_t& event);

// The whole pixel of the root where the pointer is.
Point x11PointerPlace(const xcb_input_xi_query_pointer_reply_t& reply);

} // namespace glimto
