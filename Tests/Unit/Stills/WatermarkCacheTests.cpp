#include "Stills/WatermarkCache.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class WatermarkCacheTests : public testing::Test {
protected:
    WatermarkCacheTests()
    {
        process.caches = directory.path() / "caches";
        process.variables["LANG"] = "C.UTF-8";
        std::filesystem::create_directory(fonts);
        std::ofstream(font) << "font";
    }

    TextLine line() const
    {
        const std::vector<std::uint8_t> covered = {0, 17, 255, 128, 9, 160};
        return {.width = 80.25,
            .ascent = 12.5,
            .descent = 4.75,
            .coverage = CoverageMask::copied({-1, -2, 3, 2}, covered.data(), 3),
            .files = {fonts.string(), font.string(), (directory.path() / "absent").string()},
            .variables = {"LANG", "FC_LANG"}};
    }

    WatermarkCache cache() const { return WatermarkCache(process); }

    std::filesystem::path file() const
    {
        return *process.caches / "com.glimto.capture" / "watermarks" / "19.json";
    }

    nlohmann::json document() const { return nlohmann::json::parse(std::ifstream(file())); }
    void write(const nlohmann::json& document) const { std::ofstream(file()) << document.dump(); }

    const TemporaryDirectory directory;
    const std::filesystem::path fonts = directory.path() / "fonts";
    const std::filesystem::path font = fonts / "Sans.ttf";
    FakeProcessEnvironment process;
};

TEST_F(WatermarkCacheTests, WhatIsKeptIsFoundAsItWas)
{
    EXPECT_FALSE(cache().find(19));
    cache().keep(19, line());
    const auto found = cache().find(19);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->width, 80.25);
    EXPECT_EQ(found->ascent, 12.5);
    EXPECT_EQ(found->descent, 4.75);
    EXPECT_EQ(found->coverage.rect(), (PixelRect{-1, -2, 3, 2}));
    EXPECT_TRUE(std::ranges::equal(found->coverage.values(), line().coverage.values()));
}

TEST_F(WatermarkCacheTests, OtherSizesAreOtherLines)
{
    cache().keep(19, line());
    EXPECT_FALSE(cache().find(20));
    auto large = line();
    large.width = 100;
    cache().keep(20, large);
    EXPECT_EQ(cache().find(19)->width, 80.25);
    EXPECT_EQ(cache().find(20)->width, 100);
}

TEST_F(WatermarkCacheTests, ALaterOneTakesTheFormersPlace)
{
    cache().keep(19, line());
    auto other = line();
    other.width = 100;
    cache().keep(19, other);
    EXPECT_EQ(cache().find(19)->width, 100);
}

TEST_F(WatermarkCacheTests, AFileThatIsAnotherNowMakesItUseless)
{
    cache().keep(19, line());
    std::ofstream(font) << "another font";
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, AFileOfTheSameSizeButAnotherTimeMakesItUseless)
{
    cache().keep(19, line());
    std::filesystem::last_write_time(
        font, std::filesystem::last_write_time(font) - std::chrono::nanoseconds(1000));
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, AFontThatIsAddedMakesItUseless)
{
    // So that the directory's time differs however coarse the clock of the file system is.
    std::filesystem::last_write_time(
        fonts, std::filesystem::last_write_time(fonts) - std::chrono::seconds(10));
    cache().keep(19, line());
    std::ofstream(fonts / "Another.ttf") << "font";
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, AFileThatComesOrGoesMakesItUseless)
{
    cache().keep(19, line());
    std::ofstream(directory.path() / "absent") << "here";
    EXPECT_FALSE(cache().find(19));
    std::filesystem::remove(directory.path() / "absent");
    EXPECT_TRUE(cache().find(19));
    std::filesystem::remove(font);
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, AVariableOfAnotherValueMakesItUseless)
{
    cache().keep(19, line());
    process.variables["LANG"] = "ja_JP.UTF-8";
    EXPECT_FALSE(cache().find(19));
    process.variables["LANG"] = "C.UTF-8";
    EXPECT_TRUE(cache().find(19));
    process.variables["FC_LANG"] = "";
    EXPECT_FALSE(cache().find(19));
    process.variables.erase("FC_LANG");
    process.variables.erase("LANG");
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, ALineOfWhichNothingIsKnownIsNotKept)
{
    auto unknown = line();
    unknown.files.clear();
    cache().keep(19, unknown);
    EXPECT_FALSE(std::filesystem::exists(file()));
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, NothingIsKeptWithoutADirectoryForCaches)
{
    process.caches.reset();
    cache().keep(19, line());
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, ADirectoryThatCannotBeMadeIsNoMatter)
{
    std::ofstream(*process.caches) << "a file";
    cache().keep(19, line());
    EXPECT_FALSE(cache().find(19));
}

TEST_F(WatermarkCacheTests, ItIsForItsOwnerAlone)
{
    cache().keep(19, line());
    EXPECT_EQ(std::filesystem::status(file()).permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(WatermarkCacheTests, AFileThatIsNoneOfOursIsNotBelieved)
{
    cache().keep(19, line());
    const nlohmann::json good = document();
    ASSERT_TRUE(cache().find(19));
    const std::vector<std::pair<std::string, nlohmann::json>> changes
        = {{"/text", "another.com"}, {"/width", -1}, {"/width", 1e9}, {"/width", "80"}, {"/ascent", nullptr},
            {"/descent", -0.5}, {"/rect/width", 0}, {"/rect/width", 4}, {"/rect/width", -3},
            {"/rect/height", 1'000'000'000}, {"/rect/x", -2147483648LL}, {"/rect/y", 1e300},
            {"/rect", "none"}, {"/coverage", ""}, {"/coverage", "0011ff8009a"}, {"/coverage", "0011ff8009zz"},
            {"/coverage", "0011ff8009-1"}, {"/files", nlohmann::json::array()}, {"/files/0/state", "1 2 3"},
            {"/files/0/name", 5}, {"/variables", "none"}};
    for (const auto& [place, value] : changes) {
        auto document = good;
        document[nlohmann::json::json_pointer(place)] = value;
        write(document);
        EXPECT_FALSE(cache().find(19)) << place << " " << value;
    }
    write(good);
    EXPECT_TRUE(cache().find(19));
}

TEST_F(WatermarkCacheTests, AFileThatWasCutOrIsTooLongIsNotBelieved)
{
    cache().keep(19, line());
    const auto size = std::filesystem::file_size(file());
    std::filesystem::resize_file(file(), size / 2);
    EXPECT_FALSE(cache().find(19));
    std::filesystem::resize_file(file(), 0);
    EXPECT_FALSE(cache().find(19));
    std::filesystem::resize_file(file(), std::uintmax_t(1) << 30U);
    EXPECT_FALSE(cache().find(19));
    cache().keep(19, line());
    EXPECT_TRUE(cache().find(19));
}

} // namespace
} // namespace glimto
