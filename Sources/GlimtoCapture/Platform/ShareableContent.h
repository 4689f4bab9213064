#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Geometry.h"
#include "Support/Errors.h"

namespace glimto {

struct Display {
    std::uint32_t displayID = 0; // stable while the display is connected
    Rect frame; // global display points
    int width = 0; // points
    int height = 0; // points
    int pixelsWide = 0; // 0 when unknown
    int pixelsHigh = 0; // 0 when unknown
};

struct Application {
    std::int32_t processID = 0; // 0 when unknown
    std::string bundleIdentifier; // valid UTF-8, may be empty
    std::string applicationName; // valid UTF-8, may be empty

    friend bool operator==(const Application&, const Application&) = default;
};

struct Window {
    std::uint32_t windowID = 0;
    Rect frame; // global display points, without shadows
    std::optional<std::string> title; // valid UTF-8, not trimmed
    int windowLayer = 0; // 0 for normal windows
    bool isOnScreen = false; // viewable and on the current desktop
    std::optional<Application> owningApplication;
};

// One snapshot of what can be captured. Displays stand in the system's order, windows frontmost first.
struct ShareableContent {
    std::vector<Display> displays;
    std::vector<Window> windows;
    std::vector<Application> applications; // owners of windows, each once
    // Why windows are missing or have no place, where the system does not tell these to programs.
    std::optional<PlatformError> windowsObstacle;
};

struct ContentQuery {
    bool excludingDesktopWindows = false;
    bool onScreenWindowsOnly = false;
};

// Fetches snapshots of what can be captured. Safe to call from any thread, one call at a time.
class ShareableContentProvider {
public:
    virtual ~ShareableContentProvider() = default;

    // Throws PlatformError when the window system cannot be reached or does not answer in time.
    virtual ShareableContent fetch(const ContentQuery& query) = 0;
};

} // namespace glimto
