#include "Backends/Pango/PangoTextDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Platform/Geometry.h"

namespace glimto {
namespace {

constexpr const char* watermark = "glimto.com";

// The smallest rectangle around the pixels that the letters cover.
PixelRect ink(const CoverageMask& mask)
{
    PixelRect rect;
    for (int row = 0; row < mask.rect().height; ++row) {
        for (int column = 0; column < mask.rect().width; ++column) {
            if (mask.at(column, row) > 0)
                rect = boundingRect(rect, {mask.rect().x + column, mask.rect().y + row, 1, 1});
        }
    }
    return rect;
}

// How many full pixels the letters cover.
double area(const CoverageMask& mask)
{
    const auto values = mask.values();
    return std::accumulate(values.begin(), values.end(), 0.0) / 255;
}

class PangoTextDrawingTests : public testing::Test {
protected:
    std::optional<TextLine> line(double size, const char* text = watermark)
    {
        return drawing.setLine(
            text, {.family = TextFont::Family::systemUI, .weight = TextFont::Weight::medium, .size = size});
    }

    PangoTextDrawing drawing;
};

TEST_F(PangoTextDrawingTests, BoundsGrowWithTheSize)
{
    const auto small = line(14);
    const auto large = line(28);
    ASSERT_TRUE(small && large);
    EXPECT_NEAR(large->width, 2 * small->width, 0.1);
    EXPECT_NEAR(large->ascent, 2 * small->ascent, 0.1);
    EXPECT_NEAR(large->descent, 2 * small->descent, 0.1);
}

TEST_F(PangoTextDrawingTests, BoundsAreThoseOfATextFace)
{
    const auto text = line(20);
    ASSERT_TRUE(text);
    // Ten letters of ordinary text are each about half as wide as the font is high.
    EXPECT_GT(text->width, 10 * 20 * 0.35);
    EXPECT_LT(text->width, 10 * 20 * 0.8);
    EXPECT_GT(text->ascent, 20 * 0.7);
    EXPECT_LT(text->ascent, 20 * 1.3);
    EXPECT_GT(text->descent, 20 * 0.1);
    EXPECT_LT(text->descent, 20 * 0.5);
}

TEST_F(PangoTextDrawingTests, LongerTextIsWider)
{
    EXPECT_GT(line(20, "glimto.com glimto")->width, line(20)->width);
    EXPECT_EQ(line(20, "")->width, 0);
}

TEST_F(PangoTextDrawingTests, TextStandsOnItsBaseline)
{
    const auto text = line(32);
    ASSERT_TRUE(text);
    const PixelRect letters = ink(text->coverage);
    // Side bearings of letters are small.
    EXPECT_NEAR(letters.x, 0, 4);
    EXPECT_NEAR(letters.x + letters.width, text->width, 4);
    // "l" goes up towards the ascent, "g" below the baseline.
    EXPECT_GE(letters.y, std::floor(-text->ascent));
    EXPECT_LE(letters.y, -16);
    EXPECT_GT(letters.y + letters.height, 3);
    EXPECT_LE(letters.y + letters.height, std::ceil(text->descent) + 1);
}

TEST_F(PangoTextDrawingTests, TextIsAntialiased)
{
    const auto text = line(32);
    ASSERT_TRUE(text);
    const auto values = text->coverage.values();
    EXPECT_EQ(std::ranges::max(values), 255);
    EXPECT_GT(
        std::ranges::count_if(values, [](std::uint8_t value) { return value > 0 && value < 255; }), 100);
    // Ten letters of that size: some hundred pixels of ink, far from filling their box.
    const PixelRect letters = ink(text->coverage);
    EXPECT_GT(area(text->coverage), 0.12 * letters.width * letters.height);
    EXPECT_LT(area(text->coverage), 0.6 * letters.width * letters.height);
}

TEST_F(PangoTextDrawingTests, MediumIsNotLighterThanRegular)
{
    const auto regular = drawing.setLine(watermark, {.size = 32});
    const auto medium = line(32);
    ASSERT_TRUE(regular && medium);
    EXPECT_GE(area(medium->coverage), area(regular->coverage));
}

TEST_F(PangoTextDrawingTests, NamesWhatTheLookDependsOn)
{
    const auto text = line(20);
    ASSERT_TRUE(text);
    const auto isNamed = [&](const char* part) {
        return std::ranges::any_of(
            text->files, [&](const std::string& name) { return name.find(part) != std::string::npos; });
    };
    EXPECT_TRUE(isNamed("fonts.conf"));
    EXPECT_TRUE(isNamed("/usr/share/fonts"));
    EXPECT_TRUE(isNamed("libpango"));
    EXPECT_TRUE(isNamed(".ttf") || isNamed(".otf"));
    EXPECT_NE(std::ranges::find(text->variables, "FONTCONFIG_FILE"), text->variables.end());
}

// In processes of their own, because fonts are looked for once a process. Nothing comes on standard error.
class FontSystemTests : public PangoTextDrawingTests {
protected:
    FontSystemTests() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // Ends the process with status 0 if there is a font.
    [[noreturn]] void lookForFont(const std::string& elements)
    {
        const auto configuration = directory.path() / "fonts.conf";
        std::ofstream(configuration) << "<fontconfig>" << elements << "</fontconfig>";
        ::setenv("FONTCONFIG_FILE", configuration.c_str(), 1);
        std::_Exit(line(20) ? 0 : 1);
    }

    TemporaryDirectory directory;
};

TEST_F(FontSystemTests, ASystemWithoutFontsHasNoFont)
{
    EXPECT_EXIT(lookForFont("<dir>/nonexistent</dir>"), testing::ExitedWithCode(1), testing::StrEq(""));
}

TEST_F(FontSystemTests, CachesThatCannotBeWrittenAreNoMatter)
{
    EXPECT_EXIT(lookForFont("<dir>/usr/share/fonts</dir><cachedir>/proc/none</cachedir>"),
        testing::ExitedWithCode(0), testing::StrEq(""));
}

TEST_F(FontSystemTests, WhatAnotherRootHoldsCannotBeTold)
{
    EXPECT_EXIT(
        {
            ::setenv("FONTCONFIG_SYSROOT", "/", 1);
            const auto text = line(20);
            std::_Exit(text && text->files.empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), testing::StrEq(""));
}

TEST_F(PangoTextDrawingTests, ASizeThatIsNoneHasNoFont)
{
    EXPECT_FALSE(line(0));
    EXPECT_FALSE(line(-3));
    EXPECT_FALSE(line(std::nan("")));
}

} // namespace
} // namespace glimto
