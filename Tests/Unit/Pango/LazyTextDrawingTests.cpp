#include "Backends/Pango/Loader/LazyTextDrawing.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(LazyTextDrawingTests, ThereIsNoFontWithoutTheModule)
{
    LoadableModule module("no-such-module.so", {"/nonexistent"}, "Text drawing");
    LazyTextDrawing drawing(module);
    EXPECT_EQ(drawing.makeLine("text", {.size = 20}), nullptr);
    EXPECT_EQ(drawing.makeLine("text", {.size = 20}), nullptr);
}

} // namespace
} // namespace glimto
