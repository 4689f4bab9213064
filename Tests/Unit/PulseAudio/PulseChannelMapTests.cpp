#include "Backends/PulseAudio/PulseRecordStream.h"

#include <string>

#include <pulse/channelmap.h>

#include <gtest/gtest.h>

namespace glimto {
namespace {

std::string recordedAs(const std::string& channels, bool isMonitor = false)
{
    PulseSource source;
    source.isMonitor = isMonitor;
    if (!pa_channel_map_parse(&source.channelMap, channels.c_str()))
        return "no map";
    char text[PA_CHANNEL_MAP_SNPRINT_MAX];
    const auto recorded = recordedChannelMap(source);
    return pa_channel_map_snprint(text, sizeof text, &recorded);
}

TEST(PulseChannelMapTests, SurroundIsPutIntoTheOrderOfMixing)
{
    EXPECT_EQ(recordedAs("front-left,front-right,rear-left,rear-right,front-center,lfe"),
        "front-left,front-right,front-center,lfe,rear-left,rear-right");
}

TEST(PulseChannelMapTests, TwoPairsOfSurroundStayInTheirOrder)
{
    EXPECT_EQ(recordedAs("front-left,front-right,side-left,side-right,front-center,lfe,rear-left,rear-right"),
        "front-left,front-right,front-center,lfe,rear-left,rear-right,side-left,side-right");
}

TEST(PulseChannelMapTests, OfAnOutputWithSurroundStereoIsRecorded)
{
    EXPECT_EQ(recordedAs("front-left,front-right,rear-left,rear-right,front-center,lfe", true),
        "front-left,front-right");
    EXPECT_EQ(recordedAs("front-left,front-left-of-center,front-center,front-right", true),
        "front-left,front-right");
    EXPECT_EQ(recordedAs("aux0,aux1,aux2", true), "aux0,aux1,aux2");
    EXPECT_EQ(recordedAs("mono", true), "mono");
}

TEST(PulseChannelMapTests, LeftIsFirst)
{
    EXPECT_EQ(recordedAs("front-right,front-left"), "front-left,front-right");
}

TEST(PulseChannelMapTests, ChannelsWithoutPlacesStayAsTheyAre)
{
    EXPECT_EQ(recordedAs("aux2,aux0,aux1"), "aux2,aux0,aux1");
    EXPECT_EQ(recordedAs("mono"), "mono");
}

} // namespace
} // namespace glimto
