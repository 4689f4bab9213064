#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "Platform/ApplicationRule.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// Everything on one display but the windows of `excludedApplications`, those that they open later included;
// the windows in `exceptingWindows` stay visible.
struct DisplayContentFilter {
    Display display;
    std::vector<Application> excludedApplications;
    std::vector<Window> exceptingWindows;

    // A stream also leaves out the applications that this names and that come later.
    ApplicationRule laterExclusions = {};
};

// One window, wherever it is and whatever covers it.
struct WindowContentFilter {
    Window window;
};

// What a capture shows.
struct ContentFilter {
    std::variant<DisplayContentFilter, WindowContentFilter> content;

    // Pixels a point, when the system knows it for this content.
    std::optional<float> pointPixelScale;
};

} // namespace glimto
