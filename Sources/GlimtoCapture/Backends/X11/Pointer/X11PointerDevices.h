#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <xcb/xinput.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Pointer/X11PointerDevice.h"
#include "Platform/Geometry.h"

namespace glimto {

using X11PointerID = std::uint16_t;

// The pointer devices of the server, as they were when they were last read.
class X11PointerDevices {
public:
    explicit X11PointerDevices(X11Connection& connection);

    // Reads them anew. A device that has gone stays known: its last events may still be on their way.
    // Throws PlatformError when the server goes away or does not answer in time.
    void read();

    // The pointers on the screen; most servers have one. Each is moved by any number of devices.
    const std::vector<X11PointerID>& pointers() const { return pointers_; }

    // The device that an event came from; one without axes when it is not known.
    const X11PointerDevice& device(xcb_input_device_id_t id) const;

private:
    void readButtonMaps();

    X11Connection& connection_;
    std::vector<X11PointerID> pointers_;
    std::map<xcb_input_device_id_t, X11PointerDevice> devices_;
    X11PointerDevice unknown_;
};

double x11Number(xcb_input_fp3232_t number);

// The axes that the event is about and their values, in order of the axes. It is as long as it
// says in `length`; whatever else stands in it, no more is read.
std::vector<X11AxisValue> x11AxisValues(const xcb_input_raw_button_press_event_t& event);

// The whole pixel of the root where the pointer is.
Point x11PointerPlace(const xcb_input_xi_query_pointer_reply_t& reply);

} // namespace glimto
