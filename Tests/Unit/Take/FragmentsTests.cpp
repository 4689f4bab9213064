#include <cstdint>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "GlimtoTake/Takes/Fragments.h"

namespace glimto {
namespace {

std::string number(std::uint32_t value)
{
    std::string bytes;
    for (unsigned shift : {24U, 16U, 8U, 0U})
        bytes += static_cast<char>(value >> shift & 0xFFU);
    return bytes;
}

std::string box(const std::string& type, const std::string& content)
{
    return number(static_cast<std::uint32_t>(content.size() + 8)) + type + content;
}

// A fragment of two samples that last 10 and 20 ticks.
std::string fragment()
{
    const std::string run = number(0x100) + number(2) + number(10) + number(20);
    return box("moof",
               box("mfhd", number(0) + number(1)) + box("traf", box("tfhd", number(0)) + box("trun", run)))
        + box("mdat", "picture");
}

class FragmentsTests : public testing::Test {
protected:
    FragmentExtent extentOf(const std::string& bytes)
    {
        const auto path = directory.path() / "segment";
        std::ofstream(path, std::ios::binary) << bytes;
        return fragmentExtent(path);
    }

    TemporaryDirectory directory;
};

TEST_F(FragmentsTests, WholeSegmentIsWhole)
{
    const std::string bytes = box("styp", "msdh") + fragment() + fragment();
    EXPECT_EQ(extentOf(bytes), (FragmentExtent{bytes.size(), 2, true, 20}));
}

TEST_F(FragmentsTests, CutAnywhereKeepsTheFragmentsBefore)
{
    const std::string bytes = fragment() + fragment();
    for (std::size_t size = fragment().size(); size < bytes.size(); ++size) {
        const auto extent = extentOf(bytes.substr(0, size));
        EXPECT_EQ(extent.wholeBytes, fragment().size());
        EXPECT_EQ(extent.fragmentCount, 1);
        EXPECT_EQ(extent.isWhole, size == fragment().size());
    }
}

TEST_F(FragmentsTests, SegmentWithoutAWholeFragmentHoldsNothing)
{
    EXPECT_EQ(extentOf(""), FragmentExtent());
    EXPECT_EQ(extentOf(fragment().substr(0, 30)), FragmentExtent());
    EXPECT_EQ(extentOf(box("mdat", "data without a head")), FragmentExtent());
    EXPECT_EQ(extentOf("this is no media at all, but a text"), FragmentExtent());
}

TEST_F(FragmentsTests, BoxesThatLieAboutTheirSizeEndTheReading)
{
    EXPECT_EQ(extentOf(number(0) + "moof" + fragment()), FragmentExtent());
    EXPECT_EQ(extentOf(number(4) + "moof" + fragment()), FragmentExtent());
    EXPECT_EQ(extentOf(number(1) + "moof" + number(0xFFFFFFFF) + number(0xFFFFFFFF) + fragment()),
        FragmentExtent());
    EXPECT_EQ(extentOf(fragment() + number(0xFFFFFFFF) + "mdat").wholeBytes, fragment().size());
}

TEST_F(FragmentsTests, RunThatPromisesMoreSamplesThanItHoldsTellsNoDuration)
{
    const std::string run = number(0x100) + number(0xFFFFFFFF) + number(10);
    const std::string bytes = box("moof", box("traf", box("trun", run))) + box("mdat", "");
    EXPECT_EQ(extentOf(bytes).lastSampleDuration, 0U);
}

} // namespace
} // namespace glimto
