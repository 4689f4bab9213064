#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace glimto {

// A window and the child of the root window that it is in, which may be itself.
struct X11StackedWindow {
    std::uint32_t window = 0;
    std::uint32_t topLevel = 0;

    friend bool operator==(const X11StackedWindow&, const X11StackedWindow&) = default;
};

// `windows`, each once, in the order in which they really lie on the screen, frontmost first.
//
// `topLevels` are the children of the root window, and `windows` come as somebody lists them, both
// bottom to top. A window whose top-level is not among `topLevels` (it came or went meanwhile) stays
// just above the one listed below it; windows of the same top-level keep their listed order.
std::vector<X11StackedWindow> frontmostFirst(
    std::span<const std::uint32_t> topLevels, std::span<const X11StackedWindow> windows);

} // namespace glimto
