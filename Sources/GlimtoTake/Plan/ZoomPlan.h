#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "InputEvents/EventsDocument.h"
#include "Support/JSONObject.h"

namespace glimto {

// For a while the picture is seen from closer by.
struct Zoom {
    double from = 0; // seconds: the picture begins to move closer
    double to = 0; // the whole picture is seen again
    double x = 0.5; // what is in the middle, within the picture: 0 is its left edge, 1 its right one
    double y = 0.5;
    double scale = 1; // 2 shows half of the width and half of the height

    friend bool operator==(const Zoom&, const Zoom&) = default;
};
GLIMTO_JSON_OBJECT(Zoom, from, to, x, y, scale)

// Where the action is: each run of clicks and scrolls that are near each other in time and place gets one
// zoom, as close as they all fit in; a pause, and what happens too far apart for the eye to follow, shows the
// whole picture. In order, without overlaps. Events after the take's length (seconds) count for nothing; the
// last zoom may end later than the take, when nothing is left to move back for.
std::vector<Zoom> planZooms(const std::deque<RecordedEvent>& events, double duration);

// {"version":1,"zooms":[{"from":1.0,"to":4.5,"x":0.25,"y":0.5,"scale":2.0}]}, to be changed by people and
// programs.
std::string encodeZoomPlan(const std::vector<Zoom>& zooms);

// Throws PlatformError (domain "JSON") when the text is no such plan, or a zoom is out of order or range:
// times rise, x and y lie from 0 to 1, the scale from 1 to 8.
std::vector<Zoom> readZoomPlan(std::string_view text);

} // namespace glimto
