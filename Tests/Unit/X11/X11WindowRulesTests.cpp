#include "Backends/X11/Windows/X11WindowRules.h"

#include <array>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(X11WindowRulesTests, NormalWindowsAreInLayerZero)
{
    EXPECT_EQ(windowLayer(X11WindowType::normal, false), 0);
}

TEST(X11WindowRulesTests, TheDesktopLiesBelowAndPanelsAndMenusAbove)
{
    EXPECT_LT(windowLayer(X11WindowType::desktop, false), 0);
    EXPECT_EQ(windowLayer(X11WindowType::dock, false), 20);
    EXPECT_EQ(windowLayer(X11WindowType::popup, false), 101);
}

TEST(X11WindowRulesTests, WindowsThatPassByTheWindowManagerArePopups)
{
    EXPECT_EQ(windowLayer(X11WindowType::normal, true), 101);
    EXPECT_EQ(windowLayer(X11WindowType::dock, true), 20);
    EXPECT_LT(windowLayer(X11WindowType::desktop, true), 0);
}

TEST(X11WindowRulesTests, AViewableWindowIsOnScreen)
{
    EXPECT_TRUE(isOnScreen({.isViewable = true}));
    EXPECT_FALSE(isOnScreen({.isViewable = false}));
}

TEST(X11WindowRulesTests, HiddenAndIconicWindowsAreNotOnScreen)
{
    EXPECT_FALSE(isOnScreen({.isViewable = true, .isHidden = true}));
    EXPECT_FALSE(isOnScreen({.isViewable = true, .isIconic = true}));
}

TEST(X11WindowRulesTests, OnlyTheCurrentDesktopIsOnScreen)
{
    EXPECT_TRUE(isOnScreen({.isViewable = true, .desktop = 1, .currentDesktop = 1}));
    EXPECT_FALSE(isOnScreen({.isViewable = true, .desktop = 2, .currentDesktop = 1}));
}

TEST(X11WindowRulesTests, AWindowOnAllDesktopsIsOnScreen)
{
    EXPECT_TRUE(isOnScreen({.isViewable = true, .desktop = 0xFFFFFFFF, .currentDesktop = 1}));
}

TEST(X11WindowRulesTests, AMissingDesktopIsTheCurrentOne)
{
    EXPECT_TRUE(isOnScreen({.isViewable = true, .currentDesktop = 1}));
    EXPECT_TRUE(isOnScreen({.isViewable = true, .desktop = 3}));
}

TEST(X11WindowRulesTests, TheShadowIsTakenOffEachSide)
{
    const std::array<std::uint32_t, 4> extents{10, 12, 14, 16};
    EXPECT_EQ(withoutShadow({100, 200, 300, 200}, extents), (Rect{110, 214, 278, 170}));
}

TEST(X11WindowRulesTests, ExtentsThatLeaveNothingArePassedOver)
{
    const std::array<std::uint32_t, 4> extents{0xFFFFFFFF, 0xFFFFFFFF, 0, 0};
    EXPECT_EQ(withoutShadow({100, 200, 300, 200}, extents), (Rect{100, 200, 300, 200}));
}

TEST(X11WindowRulesTests, ExtentsThatAreNotFourArePassedOver)
{
    const std::array<std::uint32_t, 3> extents{1, 1, 1};
    EXPECT_EQ(withoutShadow({100, 200, 300, 200}, extents), (Rect{100, 200, 300, 200}));
}

} // namespace
} // namespace glimto
