#pragma once

#include <cstdint>
#include <string>

#include "Backends/Wayland/WaylandHandles.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// One display of the compositor.
class WaylandOutput {
public:
    WaylandOutput(std::uint32_t globalName, WaylandHandle<wl_output> output);
    WaylandOutput(const WaylandOutput&) = delete;
    WaylandOutput& operator=(const WaylandOutput&) = delete;

    // Learns its place in points as well; `manager` may be null where there is no such thing.
    void follow(zxdg_output_manager_v1* manager);

    std::uint32_t globalName() const { return globalName_; }
    wl_output* output() const { return output_.get(); }

    // How its picture is turned, as wl_output has it (wl_output_transform).
    std::int32_t transform() const { return transform_; }

    // Its id comes from its name ("HDMI-A-1"), so it is the same in every session.
    Display display() const;

private:
    void listen();

    std::uint32_t globalName_;
    WaylandHandle<wl_output> output_;
    WaylandHandle<zxdg_output_v1> xdgOutput_;
    std::string name_;
    std::int32_t x_ = 0; // points
    std::int32_t y_ = 0;
    std::int32_t logicalWidth_ = 0; // points; 0 when nobody tells
    std::int32_t logicalHeight_ = 0;
    std::int32_t modeWidth_ = 0; // pixels, before it is turned
    std::int32_t modeHeight_ = 0;
    std::int32_t scale_ = 1;
    std::int32_t transform_ = WL_OUTPUT_TRANSFORM_NORMAL;
};

// A number for a name, the same wherever it is made (FNV-1a, 32 bits).
std::uint32_t waylandNameID(const std::string& name);

} // namespace glimto
