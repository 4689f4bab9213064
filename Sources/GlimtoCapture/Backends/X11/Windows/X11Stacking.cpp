#include "Backends/X11/Windows/X11Stacking.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace glimto {

std::vector<X11StackedWindow> frontmostFirst(
    std::span<const std::uint32_t> topLevels, std::span<const X11StackedWindow> windows)
{
    std::unordered_map<std::uint32_t, std::size_t> heights;
    for (const auto topLevel : topLevels)
        heights.emplace(topLevel, heights.size() + 1);

    struct Placed {
        X11StackedWindow window;
        std::size_t height = 0;
    };
    std::vector<Placed> placed;
    std::unordered_set<std::uint32_t> seen;
    std::size_t heightBelow = 0;
    for (const auto& window : windows) {
        if (!seen.insert(window.window).second)
            continue;
        const auto known = heights.find(window.topLevel);
        heightBelow = known == heights.end() ? heightBelow : known->second;
        placed.push_back({window, heightBelow});
    }
    std::ranges::stable_sort(placed, {}, &Placed::height);

    std::vector<X11StackedWindow> result;
    for (auto at = placed.rbegin(); at != placed.rend(); ++at)
        result.push_back(at->window);
    return result;
}

} // namespace glimto
