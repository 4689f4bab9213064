#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandPictureFormat.h"

namespace glimto {

// What a compositor wants to copy a source into, told piece by piece, and told again whenever it changes.
class WaylandCopyConstraints {
public:
    void tellSize(std::uint32_t width, std::uint32_t height);
    void tellFormat(std::uint32_t format); // wl_shm_format
    void tellDone();

    bool areKnown() const { return areKnown_; }

    // The best of the formats told; absent before all was told, and when none is known here. It may not be
    // usable.
    const std::optional<WaylandPictureFormat>& best() const { return best_; }

private:
    std::uint32_t width_ = 0; // since the last tellDone()
    std::uint32_t height_ = 0;
    std::vector<std::uint32_t> formats_;
    bool areKnown_ = false;
    std::optional<WaylandPictureFormat> best_;
};

} // namespace glimto
