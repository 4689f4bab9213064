#include "Backends/X11/Windows/X11WindowTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The ids of the windows, frontmost first.
std::vector<std::uint32_t> order(
    const std::vector<std::uint32_t>& topLevels, const std::vector<X11StackedWindow>& windows)
{
    std::vector<std::uint32_t> result;
    for (const auto& window : frontmostFirst(topLevels, windows))
        result.push_back(window.window);
    return result;
}

TEST(X11StackingTests, TheTopmostTopLevelComesFirst)
{
    EXPECT_THAT(order({10, 20, 30}, {{1, 10}, {2, 20}, {3, 30}}), ElementsAre(3, 2, 1));
}

TEST(X11StackingTests, TheServersOrderCountsNotTheListedOne)
{
    EXPECT_THAT(order({30, 10, 20}, {{1, 10}, {2, 20}, {3, 30}}), ElementsAre(2, 1, 3));
}

TEST(X11StackingTests, WindowsListedLaterStandBetweenTheOthersWhereTheyLie)
{
    EXPECT_THAT(order({10, 5, 20}, {{1, 10}, {2, 20}, {5, 5}}), ElementsAre(2, 5, 1));
}

TEST(X11StackingTests, WindowsOfOneTopLevelKeepTheirListedOrder)
{
    EXPECT_THAT(order({10}, {{1, 10}, {2, 10}}), ElementsAre(2, 1));
}

TEST(X11StackingTests, AWindowOfAnUnknownTopLevelStaysAboveTheOneListedBelowIt)
{
    EXPECT_THAT(order({10, 20}, {{1, 10}, {9, 90}, {2, 20}}), ElementsAre(2, 9, 1));
}

TEST(X11StackingTests, AnUnknownTopLevelListedFirstLiesAtTheBottom)
{
    EXPECT_THAT(order({10}, {{9, 90}, {1, 10}}), ElementsAre(1, 9));
}

TEST(X11StackingTests, AWindowListedTwiceComesOnce)
{
    EXPECT_THAT(order({10, 20}, {{1, 10}, {2, 20}, {1, 10}}), ElementsAre(2, 1));
}

TEST(X11StackingTests, NoWindowsGiveNone)
{
    EXPECT_THAT(order({10, 20}, {}), IsEmpty());
}

} // namespace
} // namespace glimto
