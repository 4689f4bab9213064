#include "Backends/Pango/PangoTextDrawing.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Platform/Geometry.h"

namespace glimto {
namespace {

constexpr const char* watermark = "glimto.com";
constexpr TextStyle white = {};
constexpr TextStyle shadowed = {.gray = 1,
    .alpha = 0.9,
    .shadowOffsetX = 0,
    .shadowOffsetY = 1,
    .shadowBlur = 1,
    .shadowGray = 0,
    .shadowAlpha = 0.65};

// A gray picture that text is drawn on.
class Paper {
public:
    static constexpr int background = 128;

    Paper(int width, int height)
        : width_(width)
        , height_(height)
        , bytes_(4 * static_cast<std::size_t>(width * height), background)
    {
    }

    PixelCanvas canvas()
    {
        return {width_, height_, 4 * static_cast<std::size_t>(width_), bytes_.data(), nullptr};
    }

    const std::uint8_t* pixel(int x, int y) const
    {
        return bytes_.data() + 4 * static_cast<std::size_t>(y * width_ + x);
    }

    // The smallest rectangle around the pixels that changed.
    PixelRect changed() const
    {
        int left = width_, top = height_, right = 0, bottom = 0;
        for (int y = 0; y < height_; ++y) {
            for (int x = 0; x < width_; ++x) {
                if (pixel(x, y)[0] == background)
                    continue;
                left = std::min(left, x);
                top = std::min(top, y);
                right = std::max(right, x + 1);
                bottom = std::max(bottom, y + 1);
            }
        }
        return right > left ? PixelRect{left, top, right - left, bottom - top} : PixelRect{};
    }

    int lightest() const { return *std::ranges::max_element(bytes_); }
    int darkest() const { return *std::ranges::min_element(bytes_); }

    bool isGray() const
    {
        for (std::size_t at = 0; at < bytes_.size(); at += 4) {
            if (bytes_[at] != bytes_[at + 1] || bytes_[at] != bytes_[at + 2])
                return false;
        }
        return true;
    }

    // How many full pixels of white the text is worth.
    double coverage() const
    {
        double sum = 0;
        for (std::size_t at = 0; at < bytes_.size(); at += 4)
            sum += (bytes_[at] - background) / 127.0;
        return sum;
    }

private:
    int width_;
    int height_;
    std::vector<std::uint8_t> bytes_;
};

class PangoTextDrawingTests : public testing::Test {
protected:
    std::unique_ptr<TextLine> line(double size, const char* text = watermark)
    {
        return drawing.makeLine(
            text, {.family = TextFont::Family::systemUI, .weight = TextFont::Weight::medium, .size = size});
    }

    PangoTextDrawing drawing;
};

TEST_F(PangoTextDrawingTests, BoundsGrowWithTheSize)
{
    const auto small = line(14);
    const auto large = line(28);
    ASSERT_TRUE(small && large);
    EXPECT_NEAR(large->width(), 2 * small->width(), 0.1);
    EXPECT_NEAR(large->ascent(), 2 * small->ascent(), 0.1);
    EXPECT_NEAR(large->descent(), 2 * small->descent(), 0.1);
}

TEST_F(PangoTextDrawingTests, BoundsAreThoseOfATextFace)
{
    const auto text = line(20);
    ASSERT_TRUE(text);
    // Ten letters of ordinary text are each about half as wide as the font is high.
    EXPECT_GT(text->width(), 10 * 20 * 0.35);
    EXPECT_LT(text->width(), 10 * 20 * 0.8);
    EXPECT_GT(text->ascent(), 20 * 0.7);
    EXPECT_LT(text->ascent(), 20 * 1.3);
    EXPECT_GT(text->descent(), 20 * 0.1);
    EXPECT_LT(text->descent(), 20 * 0.5);
}

TEST_F(PangoTextDrawingTests, LongerTextIsWider)
{
    EXPECT_GT(line(20, "glimto.com glimto")->width(), line(20)->width());
    EXPECT_EQ(line(20, "")->width(), 0);
}

TEST_F(PangoTextDrawingTests, TextIsDrawnOnItsBaseline)
{
    const auto text = line(32);
    ASSERT_TRUE(text);
    Paper paper(400, 100);
    ASSERT_TRUE(text->draw(paper.canvas(), 40, 60, white));
    const auto changed = paper.changed();
    // Side bearings of letters are small.
    EXPECT_NEAR(changed.x, 40, 4);
    EXPECT_NEAR(changed.x + changed.width, 40 + text->width(), 4);
    // "l" goes up towards the ascent, "g" below the baseline.
    EXPECT_GE(changed.y, std::floor(60 - text->ascent()));
    EXPECT_LE(changed.y, 60 - 16);
    EXPECT_GT(changed.y + changed.height, 60 + 3);
    EXPECT_LE(changed.y + changed.height, std::ceil(60 + text->descent()) + 1);
}

TEST_F(PangoTextDrawingTests, TextIsWhiteAntialiasedAndWithoutColorFringes)
{
    Paper paper(400, 100);
    ASSERT_TRUE(line(32)->draw(paper.canvas(), 40, 60, white));
    EXPECT_EQ(paper.lightest(), 255);
    EXPECT_EQ(paper.darkest(), Paper::background);
    EXPECT_TRUE(paper.isGray());
    // Ten letters of that size: some hundred pixels of ink, far from filling their box.
    const auto changed = paper.changed();
    EXPECT_GT(paper.coverage(), 0.12 * changed.width * changed.height);
    EXPECT_LT(paper.coverage(), 0.6 * changed.width * changed.height);
}

TEST_F(PangoTextDrawingTests, AlphaLetsTheBackgroundThrough)
{
    Paper paper(400, 100);
    ASSERT_TRUE(line(32)->draw(paper.canvas(), 40, 60, {.gray = 1, .alpha = 0.9}));
    EXPECT_NEAR(paper.lightest(), 128 + 0.9 * 127, 1);
}

TEST_F(PangoTextDrawingTests, TheShadowLiesBelowAndIsSoft)
{
    Paper plain(400, 100);
    Paper withShadow(400, 100);
    const auto text = line(32);
    ASSERT_TRUE(text->draw(plain.canvas(), 40, 60, white));
    ASSERT_TRUE(text->draw(withShadow.canvas(), 40, 60, shadowed));
    EXPECT_GT(withShadow.lightest(), 225);
    EXPECT_LT(withShadow.darkest(), 90);
    EXPECT_GT(withShadow.darkest(), 128 * (1 - 0.65) - 1);
    EXPECT_TRUE(withShadow.isGray());
    const auto ink = plain.changed();
    const auto both = withShadow.changed();
    const int above = ink.y - both.y;
    const int below = both.y + both.height - ink.y - ink.height;
    EXPECT_GE(above, 0);
    EXPECT_LE(above, 1);
    EXPECT_GE(below, 2);
    EXPECT_LE(below, 4);
}

TEST_F(PangoTextDrawingTests, TextAcrossAnEdgeIsCutThere)
{
    const auto text = line(32);
    Paper whole(400, 100);
    Paper cut(120, 60);
    ASSERT_TRUE(text->draw(whole.canvas(), 60, 55, shadowed));
    ASSERT_TRUE(text->draw(cut.canvas(), 60, 55, shadowed));
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 120; ++x)
            ASSERT_EQ(cut.pixel(x, y)[0], whole.pixel(x, y)[0]) << x << ", " << y;
    }
}

TEST_F(PangoTextDrawingTests, TextFarOutsideChangesNothing)
{
    Paper paper(50, 50);
    EXPECT_TRUE(line(32)->draw(paper.canvas(), 1000, -500, shadowed));
    EXPECT_TRUE(paper.changed().isEmpty());
}

TEST_F(PangoTextDrawingTests, MediumIsNotLighterThanRegular)
{
    Paper regular(400, 100);
    Paper medium(400, 100);
    ASSERT_TRUE(drawing.makeLine(watermark, {.size = 32})->draw(regular.canvas(), 40, 60, white));
    ASSERT_TRUE(line(32)->draw(medium.canvas(), 40, 60, white));
    EXPECT_GE(medium.coverage(), regular.coverage());
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

TEST_F(PangoTextDrawingTests, ASizeThatIsNoneHasNoFont)
{
    EXPECT_EQ(line(0), nullptr);
    EXPECT_EQ(line(-3), nullptr);
    EXPECT_EQ(line(std::nan("")), nullptr);
}

} // namespace
} // namespace glimto
