#pragma once

#include <vector>

#include <xcb/xinput.h>

#include "Backends/X11/Pointer/X11PointerDevice.h"
#include "Backends/X11/Pointer/X11PointerEvents.h"

namespace glimto {

// What raw events and answers about pointers say. Both are as long as they say in `length`; whatever else
// stands in them, no more is read.

// The axes that the event is about and their values, in order of the axes.
std::vector<X11AxisValue> x11AxisValues(const xcb_input_raw_button_press_event_t& event);

X11PointerAnswer x11PointerAnswer(X11PointerID pointer, const xcb_input_xi_query_pointer_reply_t& reply);

} // namespace glimto
