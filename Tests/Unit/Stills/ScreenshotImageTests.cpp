#include "Stills/ScreenshotImage.h"

#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeStillCapture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

// Each pixel's blue is its column, its green its row.
PixelCanvas mapPicture(int width, int height)
{
    const auto image = fakePicture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto* pixel = image.bytes + static_cast<std::size_t>(y) * image.bytesPerRow
                + 4 * static_cast<std::size_t>(x);
            pixel[0] = static_cast<std::uint8_t>(x);
            pixel[1] = static_cast<std::uint8_t>(y);
        }
    }
    return image;
}

PixelRect coveredBy(const PixelCanvas& image)
{
    return {image.bytes[0], image.bytes[1], image.width, image.height};
}

TEST(ScreenshotImageTests, APartIsCutOutAtItsPlace)
{
    const auto image = mapPicture(40, 30);
    const auto part = croppedImage(image, {3, 5, 10, 8});
    EXPECT_EQ(coveredBy(part), (PixelRect{3, 5, 10, 8}));
    const auto* last = part.bytes + 7 * part.bytesPerRow + 9 * 4;
    EXPECT_EQ(last[0], 12);
    EXPECT_EQ(last[1], 12);
}

TEST(ScreenshotImageTests, EveryEdgeCanBeTouched)
{
    const auto image = mapPicture(40, 30);
    for (const PixelRect& rect : {PixelRect{0, 0, 40, 30}, {0, 0, 1, 1}, {39, 0, 1, 30}, {0, 29, 40, 1}})
        EXPECT_EQ(coveredBy(croppedImage(image, rect)), rect);
}

TEST(ScreenshotImageTests, WhatLiesOutsideIsLeftOut)
{
    const auto image = mapPicture(40, 30);
    EXPECT_EQ(coveredBy(croppedImage(image, {30, 20, 20, 20})), (PixelRect{30, 20, 10, 10}));
}

TEST(ScreenshotImageTests, APartOutsideIsAnError)
{
    const auto image = mapPicture(40, 30);
    for (const PixelRect& rect : {PixelRect{40, 0, 5, 5}, {0, 30, 5, 5}, {5, 5, 0, 5}}) {
        try {
            croppedImage(image, rect);
            FAIL() << "nothing was thrown";
        } catch (const CLIError& error) {
            EXPECT_STREQ(error.what(), "Could not crop the screenshot to the selected region.");
        }
    }
}

TEST(ScreenshotImageTests, APartKeepsThePixelsAlive)
{
    auto image = mapPicture(40, 30);
    const std::weak_ptr<const void> watched = image.storage;
    auto part = croppedImage(image, {3, 5, 10, 8});
    image = {};
    EXPECT_FALSE(watched.expired());
    part = {};
    EXPECT_TRUE(watched.expired());
}

std::string errorOfFrame(const PixelBuffer& pixels)
{
    try {
        imageOfFrame(pixels);
    } catch (const PlatformError& error) {
        return error.what();
    }
    return "";
}

TEST(ScreenshotImageTests, AFramesPictureIsACopyWithoutWhatLiesBesideIt)
{
    const auto part = croppedImage(mapPicture(40, 30), {3, 5, 10, 8});
    const auto image = imageOfFrame(part);
    EXPECT_NE(image.bytes, part.bytes);
    EXPECT_EQ(image.bytesPerRow, 40U);
    EXPECT_EQ(coveredBy(image), (PixelRect{3, 5, 10, 8}));
    EXPECT_EQ(image.bytes[7 * 40 + 9 * 4], 12);
}

TEST(ScreenshotImageTests, AFrameWithoutExtentIsEmpty)
{
    for (const auto& [width, height] : {std::pair(0, 4), std::pair(4, 0)}) {
        PixelBuffer pixels = fakePicture(4, 4);
        pixels.width = width;
        pixels.height = height;
        EXPECT_EQ(errorOfFrame(pixels), "ScreenCaptureKit returned an empty screenshot frame.");
    }
}

TEST(ScreenshotImageTests, AFrameWithoutPixelsCannotBeRendered)
{
    PixelBuffer pixels = fakePicture(4, 4);
    pixels.bytes = nullptr;
    EXPECT_EQ(errorOfFrame(pixels), "Core Image could not render the screenshot frame.");
    pixels = fakePicture(4, 4);
    pixels.bytesPerRow = 15;
    EXPECT_EQ(errorOfFrame(pixels), "Core Image could not render the screenshot frame.");
}

} // namespace
} // namespace glimto
