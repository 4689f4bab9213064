#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/Wayland/WaylandBuffer.h"
#include "Platform/Geometry.h"
#include "Support/HostClock.h"

namespace glimto {

// One copy of a source's picture: asked for when made, and told by events as the connection handles them.
class WaylandCopy {
public:
    virtual ~WaylandCopy() = default;
    WaylandCopy(const WaylandCopy&) = delete;
    WaylandCopy& operator=(const WaylandCopy&) = delete;

    // Once the compositor has told what it wants to copy into: start() may be called, once.
    virtual const std::optional<WaylandPictureFormat>& format() const = 0;

    // At once, or when something has changed since the last copy that this connection had of the source.
    enum class When { now, onceChanged };
    void start(WaylandBuffer& buffer, When when);
    bool isStarted() const { return isStarted_; }

    bool isReady() const { return isReady_; }
    bool hasFailed() const { return hasFailed_; }
    // The compositor offers no memory that a program could read.
    virtual bool isUnusable() const = 0;

    // When the picture was shown, by the compositor's clock, HostTime() when that is not told; rows run
    // from bottom to top; how the picture is turned (wl_output_transform), where it is not as its display;
    // and what of it has changed, in pixels of the buffer: null where that is not told. Once it is ready.
    HostTime time() const { return time_; }
    bool isUpsideDown() const { return isUpsideDown_; }
    std::optional<std::int32_t> transform() const { return transform_; }
    const std::vector<PixelRect>* damage() const;

protected:
    WaylandCopy() = default;

    // What the compositor says of the copy.
    void didTellTime(std::uint32_t secondsHigh, std::uint32_t secondsLow, std::uint32_t nanoseconds);
    void didTellUpsideDown(bool isUpsideDown) { isUpsideDown_ = isUpsideDown; }
    void didTellTransform(std::uint32_t transform);
    void didChange(std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height);
    void didBecomeReady() { isReady_ = true; }
    void didFail() { hasFailed_ = true; }

private:
    virtual void begin(WaylandBuffer& buffer, When when) = 0;

    bool isStarted_ = false;
    bool isReady_ = false;
    bool hasFailed_ = false;
    bool isUpsideDown_ = false;
    std::optional<std::int32_t> transform_;
    HostTime time_;
    std::vector<PixelRect> damage_;
    bool hasUnknownDamage_ = false;
};

// Copies of one source, one after the other, in one of the ways that compositors offer.
class WaylandCopySource {
public:
    virtual ~WaylandCopySource() = default;

    // Asks for the next copy; the one before is gone. `output` is the source where that is a display.
    virtual std::unique_ptr<WaylandCopy> makeCopy(wl_output* output) = 0;

    // The compositor gives no more pictures of it.
    virtual bool hasEnded() const = 0;
};

} // namespace glimto
