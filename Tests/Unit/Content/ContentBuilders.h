#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Platform/ShareableContent.h"

namespace glimto {

inline const Application ownApplication = {4711, "com.glimto.capture", "glimto-capture"};
inline const Application desktopApplication = {100, "com.glimto.desktop", "Glimto"};
inline const Application editor = {200, "org.example.editor", "Editor"};

// A display whose frame is `frame` points and whose pixels are `scale` times as many.
inline Display displayAt(std::uint32_t displayID, const Rect& frame, double scale = 1)
{
    return {displayID, frame, static_cast<int>(frame.width), static_cast<int>(frame.height),
        static_cast<int>(frame.width * scale), static_cast<int>(frame.height * scale)};
}

// A normal window on the screen.
inline Window windowOf(
    std::uint32_t windowID, const Application& owner, const Rect& frame = {10, 10, 100, 80})
{
    Window window;
    window.windowID = windowID;
    window.frame = frame;
    window.isOnScreen = true;
    window.owningApplication = owner;
    return window;
}

// Two displays side by side: (0,0 1920x1080) and (1920,0 1280x1024).
inline std::vector<Display> twoDisplays()
{
    return {displayAt(71, {0, 0, 1920, 1080}), displayAt(72, {1920, 0, 1280, 1024})};
}

inline std::vector<std::uint32_t> windowIDs(const std::vector<Window>& windows)
{
    std::vector<std::uint32_t> result;
    for (const auto& window : windows)
        result.push_back(window.windowID);
    return result;
}

// The message of what `action` throws; it must be an `ErrorType`.
template <typename ErrorType, typename Action> std::string messageOf(Action&& action)
{
    try {
        std::forward<Action>(action)();
    } catch (const ErrorType& error) {
        return error.what();
    }
    return "nothing was thrown";
}

} // namespace glimto
