#include "Backends/X11/Pointer/X11PointerDevice.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Direction = X11PointerDevice::ScrollAxis::Direction;
using Values = std::vector<X11AxisValue>;

X11PointerDevice mouse()
{
    X11PointerDevice device;
    device.scrollAxes = {
        {.axis = 2, .direction = Direction::horizontal, .increment = 120},
        {.axis = 3, .direction = Direction::vertical, .increment = 15},
    };
    return device;
}

X11PointerDevice tablet()
{
    X11PointerDevice device;
    device.placeAxes[0] = {.minimum = 0, .maximum = 65535};
    device.placeAxes[1] = {.minimum = 100, .maximum = 199};
    return device;
}

TEST(X11PointerDeviceTests, AMouseTellsNoPlace)
{
    const auto place = mouse().place(Values{{0, 1.5}, {1, -2}}, 640, 480);
    EXPECT_EQ(place.x, std::nullopt);
    EXPECT_EQ(place.y, std::nullopt);
}

TEST(X11PointerDeviceTests, AnAxisThatRestsIsLeftOut)
{
    const auto place = tablet().place(Values{{1, 150}}, 640, 480);
    EXPECT_EQ(place.x, std::nullopt);
    EXPECT_EQ(place.y, 240);
}

TEST(X11PointerDeviceTests, ATabletsRangeCoversTheRoot)
{
    const auto place = tablet().place(Values{{0, 32768}, {1, 150}}, 640, 480);
    EXPECT_EQ(place.x, 320);
    EXPECT_EQ(place.y, 240);
}

TEST(X11PointerDeviceTests, AnIncrementDownScrollsOneLineDown)
{
    const auto lines = mouse().scrollLines(Values{{3, 15}});
    EXPECT_EQ(lines.y, -1);
    EXPECT_EQ(lines.x, 0);
}

TEST(X11PointerDeviceTests, APartOfAnIncrementIsAPartOfALine)
{
    const auto lines = mouse().scrollLines(Values{{2, 60}, {3, -3.75}});
    EXPECT_EQ(lines.y, 0.25);
    EXPECT_EQ(lines.x, -0.5);
}

TEST(X11PointerDeviceTests, AMoveScrollsNothing)
{
    EXPECT_TRUE(mouse().scrollLines(Values{{0, 5}, {1, 5}}).isZero());
}

TEST(X11PointerDeviceTests, ButtonsAreThoseThatTheUserHasSet)
{
    auto device = mouse();
    device.buttonMap = {3, 2, 1};
    EXPECT_EQ(device.logicalButton(1), 3U);
    EXPECT_EQ(device.logicalButton(2), 2U);
    EXPECT_EQ(device.logicalButton(3), 1U);
    EXPECT_EQ(device.logicalButton(4), 4U);
}

TEST(X11PointerDeviceTests, WheelButtonsAreLines)
{
    EXPECT_EQ(x11WheelLines(4).y, 1);
    EXPECT_EQ(x11WheelLines(5).y, -1);
    EXPECT_EQ(x11WheelLines(6).x, 1);
    EXPECT_EQ(x11WheelLines(7).x, -1);
    EXPECT_TRUE(x11WheelLines(1).isZero());
    EXPECT_TRUE(x11WheelLines(8).isZero());
}

} // namespace
} // namespace glimto
