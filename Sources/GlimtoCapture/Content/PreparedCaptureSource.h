#pragma once

#include <optional>
#include <string>

#include "Platform/ContentFilter.h"
#include "Platform/Geometry.h"

namespace glimto {

// A resolved source: what a capture stream is to show, and how large.
struct PreparedCaptureSource {
    ContentFilter filter;
    int width = 0; // pixels, at least 1
    int height = 0;
    std::string description; // for people: "screen:0", "region:300x200pt", "window:7 Editor notes.txt"
    std::optional<Rect> sourceRect; // of a region, in points from the display's top left
};

} // namespace glimto
