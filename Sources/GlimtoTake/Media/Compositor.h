#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "GlimtoTake/Plan/CameraPath.h"
#include "GlimtoTake/Plan/PointerPath.h"
#include "Platform/Geometry.h"
#include "Platform/VideoFrame.h"

namespace glimto {

// How the rendered picture is laid out, in pixels.
struct CanvasLayout {
    int width = 0; // of the canvas, even
    int height = 0;
    int padding = 0; // background around the picture, on every side
    int cornerRadius = 0; // of the picture
    std::uint32_t background = 0x202830; // 0xRRGGBB
    double pointerScale = 1; // 1 draws the pointer 24 pixels high when the canvas is as large as the capture
};

// What a frame shows.
struct FrameState {
    CameraView camera;
    PointerState pointer;

    friend bool operator==(const FrameState&, const FrameState&) = default;
};

// Draws frames by Cairo: the picture through the camera, the pointer, rings around clicks and arrows for
// scrolls.
//
// What did not change since the last frame is not drawn: a pointer that moves costs what it covers, and a
// frame in which nothing changes costs nothing. Used by one thread.
class Compositor {
public:
    explicit Compositor(const CanvasLayout& layout);
    ~Compositor();
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    // Draws the next frame. `picture` is the new picture of the take, absent while the last one stands.
    // Returns what changed, with even edges; absent when nothing did.
    std::optional<PixelRect> draw(std::optional<PixelBuffer> picture, const FrameState& state);

    // The canvas: bytes B, G, R, X.
    const std::uint8_t* bytes() const;
    int bytesPerRow() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace glimto
