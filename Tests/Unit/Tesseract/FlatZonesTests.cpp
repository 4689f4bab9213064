#include "Backends/Tesseract/FlatZones.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace glimto {
namespace {

void fill(const PixHandle& picture, PixelRect rect, int value)
{
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        for (int x = rect.x; x < rect.x + rect.width; ++x)
            pixSetPixel(picture.get(), x, y, static_cast<l_uint32>(value));
    }
}

PixHandle filled(int width, int height, int value)
{
    PixHandle picture = owned(pixCreate(width, height, 8));
    fill(picture, {0, 0, width, height}, value);
    return picture;
}

TEST(FlatZonesTests, PanelsSideBySideAreSurfacesOfTheirOwn)
{
    const PixHandle picture = filled(300, 100, 250);
    fill(picture, {0, 0, 100, 100}, 30);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[0].bounds, (PixelRect{0, 0, 100, 100}));
    EXPECT_EQ(found->zones[1].bounds, (PixelRect{100, 0, 200, 100}));
    EXPECT_EQ(valueAt(found->background.get(), 50, 50), 30);
    EXPECT_EQ(valueAt(found->background.get(), 150, 50), 250);
}

TEST(FlatZonesTests, WhatStandsOnASurfaceGetsItsGray)
{
    const PixHandle picture = filled(200, 100, 240);
    fill(picture, {50, 40, 3, 12}, 10);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 1U);
    EXPECT_EQ(valueAt(found->background.get(), 51, 45), 240);
}

TEST(FlatZonesTests, ButtonWithALabelIsASurface)
{
    const PixHandle picture = filled(200, 100, 240);
    fill(picture, {50, 30, 60, 24}, 90);
    fill(picture, {60, 38, 3, 9}, 255);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(valueAt(found->background.get(), 61, 40), 90);
}

TEST(FlatZonesTests, BandBehindWordsThatReachToItsEdgesIsASurface)
{
    const PixHandle picture = filled(300, 100, 240);
    fill(picture, {50, 30, 150, 13}, 90);
    for (int letter = 0; letter < 14; ++letter)
        fill(picture, {55 + 10 * letter, letter % 2 == 0 ? 30 : 33, 5, 10}, 255);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 2U);
}

TEST(FlatZonesTests, CellBetweenSmoothLinesIsASurface)
{
    const PixHandle picture = filled(300, 200, 255);
    for (const int x : {20, 90, 160})
        fill(picture, {x, 20, 2, 90}, 40);
    for (const int y : {20, 50, 80, 110}) {
        fill(picture, {20, y, 142, 1}, 40);
        for (int x = 20; x < 160; x += 10)
            fill(picture, {x, y + 1, 9, 1}, 40 + x);
    }
    fill(picture, {159, 21, 1, 20}, 200);
    fill(picture, {100, 30, 4, 12}, 30);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    EXPECT_EQ(valueAt(found->background.get(), 101, 35), 255);
}

TEST(FlatZonesTests, LetterThatTouchesABandOfItsOwnColourDoesNotWidenIt)
{
    const PixHandle picture = filled(300, 100, 240);
    fill(picture, {20, 30, 200, 14}, 20);
    fill(picture, {40, 33, 3, 9}, 240);
    fill(picture, {100, 44, 2, 12}, 20);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[1].bounds, (PixelRect{20, 30, 200, 14}));
}

TEST(FlatZonesTests, BandWhoseArrowStandsOutAtTheTopIsASurface)
{
    const PixHandle picture = filled(300, 100, 240);
    fill(picture, {20, 30, 60, 20}, 150);
    fill(picture, {78, 29, 2, 1}, 150);
    for (int y = 0; y < 20; ++y)
        fill(picture, {80, 30 + y, std::min(y, 19 - y), 1}, 150);
    fill(picture, {40, 34, 3, 12}, 20);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[1].bounds, (PixelRect{20, 30, 69, 20}));
}

TEST(FlatZonesTests, StrokeOfALargeLetterIsNoSurface)
{
    const PixHandle picture = filled(200, 100, 240);
    fill(picture, {50, 20, 12, 60}, 10);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->zones.size(), 1U);
    EXPECT_EQ(valueAt(found->background.get(), 55, 50), 240);
}

TEST(FlatZonesTests, ShadedBarIsOneSurface)
{
    const PixHandle picture = filled(400, 100, 20);
    for (int y = 0; y < 20; ++y)
        fill(picture, {0, y, 400, 1}, 240 - 4 * y);
    const auto found = findFlatZones(picture.get());
    ASSERT_TRUE(found);
    ASSERT_EQ(found->zones.size(), 2U);
    EXPECT_EQ(found->zones[0].bounds, (PixelRect{0, 0, 400, 20}));
}

TEST(FlatZonesTests, PhotographHasNoSurfaces)
{
    const PixHandle picture = filled(200, 100, 0);
    for (int place = 0; place < 200 * 100; ++place)
        fill(picture, {place % 200, place / 200, 1, 1}, place * 37 % 251);
    EXPECT_FALSE(findFlatZones(picture.get()));
}

} // namespace
} // namespace glimto
