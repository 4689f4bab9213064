#include "Backends/Wayland/CompositorWindows.h"

#include <string>

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(CompositorWindowsTests, SwaysTreeIsReadInTheOrderOfUseWithContentsInsideOfBorders)
{
    const auto windows
        = windowsOfSwayTree(R"({"id":1,"focus":[2],"nodes":[{"id":2,"focus":[20,10,30],"nodes":[
        {"id":10,"pid":100,"name":"first","app_id":"one","visible":false,
         "rect":{"x":5,"y":6,"width":70,"height":80},"window_rect":{"x":2,"y":3,"width":60,"height":50}},
        {"id":20,"pid":200,"name":"second","app_id":null,"window_properties":{"class":"Two"},"visible":true,
         "rect":{"x":-5,"y":6,"width":70,"height":80},"window_rect":{"x":0,"y":0,"width":0,"height":0}}],
        "floating_nodes":[{"id":30,"pid":300,"name":null,"app_id":"three","visible":true}]}]})");

    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 3U);
    EXPECT_EQ(windows->at(0).windowID, 20U);
    EXPECT_EQ(windows->at(0).owningApplication, (Application{200, "Two", "Two"}));
    EXPECT_EQ(windows->at(0).frame, (Rect{-5, 6, 70, 80}));
    EXPECT_EQ(windows->at(1).title, "first");
    EXPECT_EQ(windows->at(1).frame, (Rect{7, 9, 60, 50}));
    EXPECT_FALSE(windows->at(1).isOnScreen);
    EXPECT_EQ(windows->at(2).title, "");
    EXPECT_EQ(windows->at(2).frame, Rect());
}

TEST(CompositorWindowsTests, SwaysWindowsAreCalledAsEveryClientCallsThemWhereThatIsTold)
{
    const auto windows = windowsOfSwayTree(R"({"nodes":[
        {"id":10,"pid":1,"foreign_toplevel_identifier":"abc"},{"id":11,"pid":1,"foreign_toplevel_identifier":null}]})");

    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 2U);
    EXPECT_EQ(windows->at(0).windowID, 0x1a47e90bU);
    EXPECT_EQ(windows->at(1).windowID, 11U);
}

TEST(CompositorWindowsTests, WhatMakesNoSenseInSwaysTreeIsLeftOut)
{
    EXPECT_EQ(windowsOfSwayTree(""), std::nullopt);
    EXPECT_EQ(windowsOfSwayTree("[1]"), std::nullopt);
    const auto windows
        = windowsOfSwayTree(R"({"nodes":[7,null,{"pid":1},{"id":-1,"pid":1},{"id":1e99,"pid":1},
        {"id":9,"pid":"x","rect":{"x":1e300,"y":[],"width":-4,"height":5},"focus":3}]})");
    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 1U);
    EXPECT_EQ(windows->front().owningApplication->processID, 0);
    EXPECT_EQ(windows->front().frame, (Rect{1e6, 0, 0, 5}));
}

TEST(CompositorWindowsTests, ATreeThatIsTooDeepEndsSomewhere)
{
    std::string tree;
    for (int depth = 0; depth < 100'000; ++depth)
        tree += R"({"nodes":[)";
    tree += R"({"id":1,"pid":1})";
    for (int depth = 0; depth < 100'000; ++depth)
        tree += "]}";

    const auto windows = windowsOfSwayTree(tree);

    ASSERT_TRUE(windows);
    EXPECT_TRUE(windows->empty());
}

TEST(CompositorWindowsTests, HyprlandsClientsAreReadInTheOrderOfUse)
{
    const auto windows = windowsOfHyprland(R"([
        {"address":"0x55a1b2c3d4e0","mapped":true,"hidden":false,"at":[10,20],"size":[300,200],"title":"old",
         "class":"kitty","pid":42,"focusHistoryID":1},
        {"address":"0x55a1b2c3d4f0","mapped":true,"hidden":true,"title":"hidden"},
        {"address":"0x55a1b2c3d500","mapped":true,"at":[1],"size":"no","title":"new","class":"firefox","pid":43,
         "focusHistoryID":0}, 5, {}])");

    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 2U);
    EXPECT_EQ(windows->at(0).title, "new");
    EXPECT_EQ(windows->at(0).frame, Rect());
    EXPECT_EQ(windows->at(1).windowID, 0xb2c3d4e0U);
    EXPECT_EQ(windows->at(1).frame, (Rect{10, 20, 300, 200}));
    EXPECT_EQ(windows->at(1).owningApplication, (Application{42, "kitty", "kitty"}));
    EXPECT_EQ(windowsOfHyprland("unknown request"), std::nullopt);
}

} // namespace
} // namespace glimto
