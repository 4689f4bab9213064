#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/StillCapture.h"

namespace glimto {

// A black picture of `width` x `height` pixels, or one whose pixels are all `value`.
inline PixelCanvas fakePicture(int width, int height, std::uint8_t value = 0)
{
    const auto storage
        = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width * height * 4), value);
    return {.width = width,
        .height = height,
        .bytesPerRow = static_cast<std::size_t>(width) * 4,
        .bytes = storage->data(),
        .storage = storage};
}

// Takes black pictures of the size that it is asked for.
class FakeStillCapture final : public StillCapture {
public:
    // How it behaves.
    bool givesImage = true;
    std::exception_ptr error; // thrown instead when set
    std::optional<PixelCanvas> image; // given instead when set

    // What happened.
    int preparations = 0;
    int captures = 0;
    std::optional<ContentFilter> filter;
    std::optional<CaptureStreamConfiguration> configuration;

    void prepare(const ContentFilter&, const CaptureStreamConfiguration&) override { ++preparations; }
    std::optional<PixelCanvas> captureImage(
        const ContentFilter& wantedFilter, const CaptureStreamConfiguration& wanted) override
    {
        ++captures;
        filter = wantedFilter;
        configuration = wanted;
        if (error)
            std::rethrow_exception(error);
        if (!givesImage)
            return std::nullopt;
        return image ? image : fakePicture(wanted.width, wanted.height);
    }
};

} // namespace glimto
