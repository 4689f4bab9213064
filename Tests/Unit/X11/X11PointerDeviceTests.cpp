#include "Backends/X11/Pointer/X11PointerDevice.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Direction = X11PointerDevice::ScrollAxis::Direction;
using Kind = X11Motion::Kind;
using Values = std::vector<X11AxisValue>;

X11PointerDevice mouse()
{
    X11PointerDevice device;
    device.placeAxes[0] = X11PointerDevice::PlaceAxis{};
    device.placeAxes[1] = X11PointerDevice::PlaceAxis{};
    device.scrollAxes = {
        {.axis = 2, .direction = Direction::horizontal, .increment = 120},
        {.axis = 3, .direction = Direction::vertical, .increment = 15},
    };
    return device;
}

X11PointerDevice tablet()
{
    X11PointerDevice device;
    device.placeAxes[0] = {.isAbsolute = true, .minimum = 0, .maximum = 65535};
    device.placeAxes[1] = {.isAbsolute = true, .minimum = 100, .maximum = 199};
    return device;
}

TEST(X11PointerDeviceTests, AMouseMovesByItsValues)
{
    const auto motion = mouse().motion(Values{{0, 1.5}, {1, -2}}, 640, 480);
    EXPECT_EQ(motion.kind, Kind::relative);
    EXPECT_EQ(motion.x, 1.5);
    EXPECT_EQ(motion.y, -2);
}

TEST(X11PointerDeviceTests, AnAxisThatRestsIsLeftOut)
{
    const auto motion = mouse().motion(Values{{1, 4}}, 640, 480);
    EXPECT_EQ(motion.x, std::nullopt);
    EXPECT_EQ(motion.y, 4);
}

TEST(X11PointerDeviceTests, ATurnedWheelMovesNoPointer)
{
    EXPECT_EQ(mouse().motion(Values{{3, 15}}, 640, 480).kind, Kind::none);
}

TEST(X11PointerDeviceTests, ATabletsRangeCoversTheRoot)
{
    const auto motion = tablet().motion(Values{{0, 32768}, {1, 150}}, 640, 480);
    EXPECT_EQ(motion.kind, Kind::absolute);
    EXPECT_EQ(motion.x, 320);
    EXPECT_EQ(motion.y, 240);
}

TEST(X11PointerDeviceTests, ATestClientsDeviceMovesEitherWay)
{
    auto device = mouse();
    device.belongsToTestClients = true;
    EXPECT_EQ(device.motion(Values{{0, 1}}, 640, 480).kind, Kind::either);
}

TEST(X11PointerDeviceTests, AnUnknownDeviceDoesNotMove)
{
    EXPECT_EQ(X11PointerDevice().motion(Values{{0, 1}, {1, 1}}, 640, 480).kind, Kind::none);
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
