#include "Backends/MP4/FragmentMuxer.h"

#include <gtest/gtest.h>

#include "Support/Errors.h"
#include "Unit/MP4/BoxBytes.h"

namespace glimto {
namespace {

using namespace std::string_literals;

constexpr std::string_view needsOthers("\x01\x01\0\0", 4);
constexpr std::string_view needsNone("\x02\0\0\0", 4);

class FragmentMuxerTests : public testing::Test {
protected:
    FragmentMuxerTests() { muxer_.takeOutput(); }

    void add(std::string_view data, FragmentMuxer::SampleFacts facts)
    {
        muxer_.addSample(std::as_bytes(std::span(data)), facts);
    }

    // A sample shown when it is decoded.
    void add(std::string_view data, std::int64_t time, std::int64_t duration, bool isKeyframe)
    {
        add(data, {.decodeTime = time, .duration = duration, .time = time, .isKeyframe = isKeyframe});
    }

    std::string takeFragment()
    {
        muxer_.endFragment();
        return textOf(muxer_.takeOutput());
    }

    static std::string_view trackBox(std::string_view fragment, std::string_view type)
    {
        return boxIn(fragment, {"moof", "traf", type});
    }

    FragmentMuxer muxer_{VideoTrackDescription{
        .samples = {.format = "avc1", .decoderConfiguration = {1, 2, 3}, .width = 64, .height = 48},
        .timescale = 90'000}};
};

TEST_F(FragmentMuxerTests, AFragmentIsItsFactsAndThenTheSamples)
{
    add("first", 0, 3000, true);
    add("second", 3000, 3000, false);
    const std::string fragment = takeFragment();

    EXPECT_EQ(boxTypes(fragment), "moof mdat");
    EXPECT_EQ(boxTypes(boxIn(fragment, "moof")), "mfhd traf");
    EXPECT_EQ(boxTypes(boxIn(fragment, {"moof", "traf"})), "tfhd tfdt trun");
    EXPECT_EQ(boxIn(fragment, "mdat"), "firstsecond");
}

TEST_F(FragmentMuxerTests, TheDataOffsetCountsFromTheFragmentToTheFirstSample)
{
    add("first", 0, 3000, true);
    const std::string fragment = takeFragment();

    EXPECT_EQ(numberAt(trackBox(fragment, "tfhd"), 0), 0x020038U);
    EXPECT_EQ(fragment.substr(numberAt(trackBox(fragment, "trun"), 8)), "first");
}

TEST_F(FragmentMuxerTests, SamplesThatAreAlikeAreDescribedOnce)
{
    for (const std::int64_t time : {0, 3000, 6000})
        add("same", time, 3000, true);
    const std::string fragment = takeFragment();

    EXPECT_EQ(trackBox(fragment, "tfhd"), "\0\2\0\x38\0\0\0\1\0\0\x0B\xB8\0\0\0\4"s + std::string(needsNone));
    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 0), 0x1U);
    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 4), 3U);
    EXPECT_EQ(trackBox(fragment, "trun").size(), 12U);
}

TEST_F(FragmentMuxerTests, AKeyframeThatOthersFollowHasFlagsOfItsOwn)
{
    for (const std::int64_t time : {0, 3000, 6000})
        add("same", time, 3000, time == 0);
    const std::string fragment = takeFragment();

    EXPECT_EQ(trackBox(fragment, "tfhd").substr(16), needsOthers);
    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 0), 0x5U);
    EXPECT_EQ(trackBox(fragment, "trun").substr(12), needsNone);
}

TEST_F(FragmentMuxerTests, KeyframesAmongOthersAreMarkedOneByOne)
{
    for (const std::int64_t time : {0, 3000, 6000})
        add("same", time, 3000, time == 3000);
    const std::string fragment = takeFragment();

    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 0), 0x401U);
    EXPECT_EQ(trackBox(fragment, "trun").substr(12),
        std::string(needsOthers) + std::string(needsNone) + std::string(needsOthers));
}

TEST_F(FragmentMuxerTests, DurationsAndSizesThatDifferAreToldOneByOne)
{
    add("long", 0, 0x1234, true);
    add("longest", 0x1234, 0xFFFFFFFF, true);
    const std::string fragment = takeFragment();

    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 0), 0x301U);
    EXPECT_EQ(trackBox(fragment, "trun").substr(12), "\0\0\x12\x34\0\0\0\4\xFF\xFF\xFF\xFF\0\0\0\7"s);
}

TEST_F(FragmentMuxerTests, PicturesShownInAnotherOrderAreToldByHowMuchLater)
{
    add("a", {.decodeTime = 0, .duration = 3000, .time = 0, .isKeyframe = true});
    add("c", {.decodeTime = 3000, .duration = 3000, .time = 9000});
    add("b", {.decodeTime = 6000, .duration = 3000, .time = 6000});
    const std::string fragment = takeFragment();

    EXPECT_EQ(numberAt(trackBox(fragment, "trun"), 0), 0x805U);
    EXPECT_EQ(trackBox(fragment, "trun").substr(16), "\0\0\0\0\0\0\x17\x70\0\0\0\0"s);
    EXPECT_EQ(boxIn(fragment, "mdat"), "acb");
}

TEST_F(FragmentMuxerTests, FragmentsAreCountedAndBeginWhereTheLastOneEnded)
{
    add("first", 0, 3000, true);
    const std::string first = takeFragment();
    constexpr std::int64_t manyDays = std::int64_t{90'000} * 86'400 * 30;
    add("second", manyDays, 3000, true);
    const std::string second = takeFragment();

    EXPECT_EQ(numberAt(boxIn(first, {"moof", "mfhd"}), 4), 1U);
    EXPECT_EQ(numberAt(boxIn(second, {"moof", "mfhd"}), 4), 2U);
    EXPECT_EQ(numberAt(trackBox(second, "tfdt"), 0), 0x01000000U);
    EXPECT_EQ(numberAt(trackBox(first, "tfdt"), 4, 8), 0U);
    EXPECT_EQ(numberAt(trackBox(second, "tfdt"), 4, 8), static_cast<std::uint64_t>(manyDays));
    EXPECT_EQ(boxIn(second, "mdat"), "second");
}

TEST_F(FragmentMuxerTests, PendingBytesAreThoseOfTheCurrentFragment)
{
    EXPECT_EQ(muxer_.pendingBytes(), 0U);
    add("first", 0, 3000, true);
    add("second", 3000, 3000, false);
    EXPECT_EQ(muxer_.pendingBytes(), 11U);
    takeFragment();
    EXPECT_EQ(muxer_.pendingBytes(), 0U);
}

TEST_F(FragmentMuxerTests, AFragmentWithoutSamplesIsNone)
{
    EXPECT_EQ(takeFragment(), "");
    add("first", 0, 3000, true);
    takeFragment();
    EXPECT_EQ(takeFragment(), "");
}

TEST_F(FragmentMuxerTests, NumbersThatHaveNoRoomAreRefusedAndChangeNothing)
{
    add("first", 0, 3000, true);
    EXPECT_THROW(add("x", 3000, std::int64_t{1} << 32, false), PlatformError);
    EXPECT_THROW(add("x", 3000, -1, false), PlatformError);
    EXPECT_THROW(add("x", {.decodeTime = 3000, .duration = 1, .time = 2999}), PlatformError);
    EXPECT_EQ(boxIn(takeFragment(), "mdat"), "first");
}

} // namespace
} // namespace glimto
