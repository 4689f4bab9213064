#include "Backends/Tesseract/FlatZones.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

GrayPicture filled(int width, int height, std::uint8_t value)
{
    GrayPicture picture(width, height);
    picture.values.assign(picture.values.size(), value);
    return picture;
}

void fill(GrayPicture& picture, PixelRect rect, std::uint8_t value)
{
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        for (int x = rect.x; x < rect.x + rect.width; ++x)
            picture.values[picture.place(x, y)] = value;
    }
}

TEST(FlatZonesTests, PanelsSideBySideAreSurfacesOfTheirOwn)
{
    GrayPicture picture = filled(300, 100, 250);
    fill(picture, {0, 0, 100, 100}, 30);
    const auto found = findFlatZones(picture);
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[0].bounds, (PixelRect{0, 0, 100, 100}));
    EXPECT_EQ(found->zones[1].bounds, (PixelRect{100, 0, 200, 100}));
    EXPECT_EQ(found->background[picture.place(50, 50)], 30);
    EXPECT_EQ(found->background[picture.place(150, 50)], 250);
}

TEST(FlatZonesTests, WhatStandsOnASurfaceGetsItsGray)
{
    GrayPicture picture = filled(200, 100, 240);
    fill(picture, {50, 40, 3, 12}, 10);
    const auto found = findFlatZones(picture);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 1U);
    EXPECT_EQ(found->background[picture.place(51, 45)], 240);
}

TEST(FlatZonesTests, ButtonWithALabelIsASurface)
{
    GrayPicture picture = filled(200, 100, 240);
    fill(picture, {50, 30, 60, 24}, 90);
    fill(picture, {60, 38, 3, 9}, 255);
    const auto found = findFlatZones(picture);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->background[picture.place(61, 40)], 90);
}

TEST(FlatZonesTests, StrokeOfALargeLetterIsNoSurface)
{
    GrayPicture picture = filled(200, 100, 240);
    fill(picture, {50, 20, 12, 60}, 10);
    const auto found = findFlatZones(picture);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 1U);
    EXPECT_EQ(found->background[picture.place(55, 50)], 240);
}

TEST(FlatZonesTests, ShadedBarIsOneSurface)
{
    GrayPicture picture = filled(400, 100, 20);
    for (int y = 0; y < 20; ++y)
        fill(picture, {0, y, 400, 1}, static_cast<std::uint8_t>(240 - 4 * y));
    const auto found = findFlatZones(picture);
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[0].bounds, (PixelRect{0, 0, 400, 20}));
}

TEST(FlatZonesTests, PhotographHasNoSurfaces)
{
    GrayPicture picture(200, 100);
    for (std::size_t place = 0; place < picture.values.size(); ++place)
        picture.values[place] = static_cast<std::uint8_t>(place * 37 % 251);
    EXPECT_FALSE(findFlatZones(picture));
}

} // namespace
} // namespace glimto
