#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Platform/FramePicture.h"
#include "Platform/Geometry.h"

namespace glimto {

// Where pixels of `part`, shown in `place` of a frame, may be seen there when `rect` of the picture changed;
// empty when nowhere.
PixelRect placedRect(const PixelRect& rect, const PixelRect& part, const PixelRect& place);

// Copies pictures of any size into frames of one size: scaled to fit with their shape kept, black beside
// them. Frames that consumers have let go of are used again.
class PictureFitting {
public:
    PictureFitting(int frameWidth, int frameHeight, std::size_t mostFrames);

    // `pixels` have four bytes each, and are not empty. Null while consumers hold all frames. Throws
    // PlatformError when there is no memory.
    std::shared_ptr<const FramePicture> frameOf(const PixelBuffer& pixels);

private:
    struct Frame {
        std::vector<std::uint8_t> bytes;
        PixelRect place; // what is not black
    };
    std::shared_ptr<Frame> unusedFrame();

    int width_;
    int height_;
    std::size_t mostFrames_;
    std::vector<std::shared_ptr<Frame>> frames_;
};

} // namespace glimto
