#include "Backends/Wayland/WaylandStaleRects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr PixelRect whole = {0, 0, 100, 50};

WaylandStaleRects fresh()
{
    WaylandStaleRects rects(100, 50);
    rects.clear();
    return rects;
}

TEST(WaylandStaleRectsTests, NewPictureIsStaleAllOver)
{
    EXPECT_THAT(WaylandStaleRects(100, 50).rects(), ElementsAre(whole));
}

TEST(WaylandStaleRectsTests, RectanglesAreCutAtTheEdges)
{
    auto rects = fresh();
    rects.add({90, 40, 100, 100});
    rects.add({-5, -5, 10, 10});
    EXPECT_THAT(rects.rects(), ElementsAre(PixelRect{90, 40, 10, 10}, PixelRect{0, 0, 5, 5}));
}

TEST(WaylandStaleRectsTests, WhatIsOutsideOrEmptyIsNothing)
{
    auto rects = fresh();
    rects.add({100, 0, 10, 10});
    rects.add({10, 10, 0, 5});
    EXPECT_THAT(rects.rects(), IsEmpty());
}

TEST(WaylandStaleRectsTests, WhatIsCoveredIsNotAddedAgain)
{
    auto rects = fresh();
    rects.add({10, 10, 20, 20});
    rects.add({10, 10, 20, 20});
    rects.add({12, 12, 3, 3});
    EXPECT_THAT(rects.rects(), ElementsAre(PixelRect{10, 10, 20, 20}));
}

TEST(WaylandStaleRectsTests, ManyBecomeAll)
{
    auto rects = fresh();
    for (int at = 0; at < 100; ++at)
        rects.add({at, at / 2, 1, 1});
    EXPECT_THAT(rects.rects(), ElementsAre(whole));
}

} // namespace
} // namespace glimto
