#include "Backends/Images/TurboImageCodec.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(TurboImageCodecTests, JPEGHasTheFullSizeAndTheColorsOfThePicture)
{
    constexpr int width = 37;
    constexpr int height = 21;
    std::vector<std::uint8_t> bytes;
    for (int pixel = 0; pixel < width * height; ++pixel)
        bytes.insert(bytes.end(), {200, 100, 50, 0});
    const PixelBuffer pixels = {width, height, width * 4, bytes.data(), nullptr};
    const auto jpeg = TurboImageCodec().encodeJPEG(pixels, 0.82);

    const std::unique_ptr<void, int (*)(void*)> decoder(tjInitDecompress(), &tjDestroy);
    const auto* data = reinterpret_cast<const unsigned char*>(jpeg.data());
    int decodedWidth = 0;
    int decodedHeight = 0;
    int subsampling = 0;
    ASSERT_EQ(tjDecompressHeader2(decoder.get(), const_cast<unsigned char*>(data), jpeg.size(), &decodedWidth,
                  &decodedHeight, &subsampling),
        0);
    EXPECT_EQ(decodedWidth, width);
    EXPECT_EQ(decodedHeight, height);
    std::vector<std::uint8_t> decoded(bytes.size());
    ASSERT_EQ(
        tjDecompress2(decoder.get(), data, jpeg.size(), decoded.data(), width, 0, height, TJPF_BGRX, 0), 0);
    EXPECT_NEAR(decoded[0], 200, 4);
    EXPECT_NEAR(decoded[1], 100, 4);
    EXPECT_NEAR(decoded[2], 50, 4);
}

TEST(TurboImageCodecTests, PictureWithoutPixelsIsAnError)
{
    const PixelBuffer pixels = {0, 0, 0, nullptr, nullptr};
    EXPECT_THROW(TurboImageCodec().encodeJPEG(pixels, 0.82), PlatformError);
}

} // namespace
} // namespace glimto
