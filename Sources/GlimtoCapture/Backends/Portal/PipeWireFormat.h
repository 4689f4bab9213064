#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/PixelFormat.h"

struct spa_pod;

namespace glimto {

// What a stream of pictures was agreed to look like.
struct PipeWireFormat {
    int width = 0; // pixels, 1 to 16384
    int height = 0;
    PixelFormat pixels = PixelFormat::xrgb8888;

    friend bool operator==(const PipeWireFormat&, const PipeWireFormat&) = default;
};

// The parameters of a stream, in memory of their own. Valid as long as this object, which stays where it is.
class PipeWireParameters {
public:
    // The formats that are known here, at `mostFramesPerSecond` and less: that rate is a wish which a screen
    // follows, while its own is whatever it is.
    static std::unique_ptr<PipeWireParameters> formats(std::uint32_t mostFramesPerSecond);

    // How buffers are to look for `format`: in memory that can be read, with what is known about the picture
    // beside it, and with the pointer's place where that is wanted.
    enum class PointerPlace { notWanted, wanted };
    static std::unique_ptr<PipeWireParameters> buffers(const PipeWireFormat& format, PointerPlace pointer);

    const spa_pod** list() { return list_.data(); }
    std::uint32_t count() const { return static_cast<std::uint32_t>(list_.size()); }

private:
    PipeWireParameters() = default;

    std::array<std::byte, 4096> memory_ = {};
    std::vector<const spa_pod*> list_;
};

// What `parameter` says; absent when it is no such format.
std::optional<PipeWireFormat> pipeWireFormat(const spa_pod& parameter);

} // namespace glimto
