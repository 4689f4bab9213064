#include "Backends/Wayland/WaylandOutput.h"

#include <utility>

namespace glimto {

namespace {

bool isQuarterTurn(std::int32_t transform)
{
    return transform % 2 != 0; // of the eight, the odd ones
}

} // namespace

std::uint32_t waylandNameID(const std::string& name)
{
    std::uint32_t hash = 2166136261U;
    for (const char each : name)
        hash = (hash ^ static_cast<unsigned char>(each)) * 16777619U;
    return hash;
}

WaylandOutput::WaylandOutput(std::uint32_t globalName, WaylandHandle<wl_output> output)
    : globalName_(globalName)
    , output_(std::move(output))
{
    listen();
}

void WaylandOutput::listen()
{
    static constexpr wl_output_listener listener = {
        .geometry =
            [](void* data, wl_output*, std::int32_t x, std::int32_t y, std::int32_t, std::int32_t,
                std::int32_t, const char*, const char*, std::int32_t transform) {
                auto* self = static_cast<WaylandOutput*>(data);
                self->transform_ = transform;
                if (!self->xdgOutput_) {
                    self->x_ = x;
                    self->y_ = y;
                }
            },
        .mode =
            [](void* data, wl_output*, std::uint32_t flags, std::int32_t width, std::int32_t height,
                std::int32_t) {
                if ((flags & WL_OUTPUT_MODE_CURRENT) == 0)
                    return;
                static_cast<WaylandOutput*>(data)->modeWidth_ = width;
                static_cast<WaylandOutput*>(data)->modeHeight_ = height;
            },
        .done = [](void*, wl_output*) {},
        .scale = [](void* data, wl_output*,
                     std::int32_t factor) { static_cast<WaylandOutput*>(data)->scale_ = factor; },
        .name
        = [](void* data, wl_output*, const char* name) { static_cast<WaylandOutput*>(data)->name_ = name; },
        .description = [](void*, wl_output*, const char*) {},
    };
    wl_output_add_listener(output_.get(), &listener, this);
}

void WaylandOutput::follow(zxdg_output_manager_v1* manager)
{
    static constexpr zxdg_output_v1_listener listener = {
        .logical_position =
            [](void* data, zxdg_output_v1*, std::int32_t x, std::int32_t y) {
                static_cast<WaylandOutput*>(data)->x_ = x;
                static_cast<WaylandOutput*>(data)->y_ = y;
            },
        .logical_size =
            [](void* data, zxdg_output_v1*, std::int32_t width, std::int32_t height) {
                static_cast<WaylandOutput*>(data)->logicalWidth_ = width;
                static_cast<WaylandOutput*>(data)->logicalHeight_ = height;
            },
        .done = [](void*, zxdg_output_v1*) {},
        .name = [](void* data, zxdg_output_v1*,
                    const char* name) { static_cast<WaylandOutput*>(data)->name_ = name; },
        .description = [](void*, zxdg_output_v1*, const char*) {},
    };
    if (!manager || xdgOutput_)
        return;
    xdgOutput_.reset(zxdg_output_manager_v1_get_xdg_output(manager, output_.get()));
    zxdg_output_v1_add_listener(xdgOutput_.get(), &listener, this);
}

Display WaylandOutput::display() const
{
    Display display;
    display.displayID = waylandNameID(name_.empty() ? std::to_string(globalName_) : name_);
    display.pixelsWide = isQuarterTurn(transform_) ? modeHeight_ : modeWidth_;
    display.pixelsHigh = isQuarterTurn(transform_) ? modeWidth_ : modeHeight_;
    display.width = logicalWidth_ > 0 ? logicalWidth_ : display.pixelsWide / scale_;
    display.height = logicalHeight_ > 0 ? logicalHeight_ : display.pixelsHigh / scale_;
    display.frame = {static_cast<double>(x_), static_cast<double>(y_), static_cast<double>(display.width),
        static_cast<double>(display.height)};
    return display;
}

} // namespace glimto
