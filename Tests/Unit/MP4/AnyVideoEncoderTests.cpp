#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Backends/MP4/MP4VideoAssetWriter.h"
#include "Fakes/FakeFramePicture.h"
#include "Fakes/FakeVideoEncoder.h"
#include "Fakes/SegmentCollector.h"

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Call = FakeVideoEncoderState::Call;

constexpr VideoTime second = std::chrono::seconds(1);

std::string text(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The asset writer with an encoder that makes nothing which H.264 would know.
class AnyVideoEncoderTests : public testing::Test {
protected:
    void makeWriter()
    {
        writer = MP4VideoAssetWriter::make(
            encoders, {.width = 64, .height = 48, .framesPerSecond = 10}, MediaTime{1, 1}, collector);
        ASSERT_TRUE(writer);
        ASSERT_TRUE(writer->startWriting());
    }

    void append(std::int64_t milliseconds, bool isChanged)
    {
        VideoFrame frame;
        frame.presentationTime = MediaTime{milliseconds, 1000};
        frame.picture = std::make_shared<MemoryPicture>(PixelBuffer{64, 48, 256, bytes->data(), bytes});
        frame.sequenceNumber = nextSequenceNumber++;
        if (isChanged)
            frame.changedRects = {{0, 0, 64, 48}};
        while (!writer->isReadyForMoreMediaData() && writer->status() == AssetWriterStatus::writing)
            std::this_thread::yield();
        ASSERT_TRUE(writer->append(frame));
    }

    std::shared_ptr<std::vector<std::uint8_t>> bytes
        = std::make_shared<std::vector<std::uint8_t>>(std::size_t{256} * 48);
    std::uint64_t nextSequenceNumber = 0;
    FakeVideoEncoderFactory encoders;
    SegmentCollector collector;
    std::unique_ptr<MP4VideoAssetWriter> writer;
};

TEST_F(AnyVideoEncoderTests, ContainerSaysWhatTheEncoderSays)
{
    makeWriter();
    append(0, true);
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    EXPECT_THAT(text(collector.initialization), HasSubstr("mp4v"));
    EXPECT_THAT(text(collector.initialization), HasSubstr("CONFIG"));
    EXPECT_EQ(writer->codec(), (VideoCodec{.name = "another", .playlistCodec = "mp4v.20.9"}));
}

TEST_F(AnyVideoEncoderTests, PicturesAreCutIntoSegmentsAtTheEncodersKeyframes)
{
    makeWriter();
    for (const int milliseconds : {0, 500, 1000, 1500})
        append(milliseconds, true);
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    EXPECT_THAT(encoders.state->calls,
        ElementsAre(Call{"encode", VideoTime(0), PictureKind::keyframe},
            Call{"encode", second / 2, PictureKind::predicted}, Call{"encode", second, PictureKind::keyframe},
            Call{"encode", second * 3 / 2, PictureKind::predicted}));
    ASSERT_EQ(collector.segments.size(), 2U);
    EXPECT_THAT(text(collector.segments[0].data), HasSubstr("picture 0;picture 1;"));
    EXPECT_THAT(text(collector.segments[1].data), HasSubstr("picture 2;picture 3;"));
    EXPECT_EQ(collector.segments[0].report.duration, mediaTime(second));
}

TEST_F(AnyVideoEncoderTests, APictureInGraphicsMemoryIsHandedOnAsItIs)
{
    makeWriter();
    const auto picture = std::make_shared<FakeFramePicture>(makeCanvas(64, 48, PixelFormat::abgr2101010));
    VideoFrame frame;
    frame.presentationTime = MediaTime{0, 1000};
    frame.picture = picture;
    ASSERT_TRUE(writer->append(frame));
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    EXPECT_THAT(encoders.state->pictures, ElementsAre(picture.get()));
    EXPECT_EQ(picture->reads, 0);
}

TEST_F(AnyVideoEncoderTests, StillPictureIsRefinedAsLongAsTheEncoderCanAndRepeatedWhereASegmentStarts)
{
    encoders.state->refinements = 1;
    makeWriter();
    append(0, true);
    for (const int milliseconds : {300, 600, 1000, 1400})
        append(milliseconds, false);
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    EXPECT_THAT(encoders.state->calls,
        ElementsAre(Call{"encode", VideoTime(0), PictureKind::keyframe},
            Call{"refine", second * 3 / 10, PictureKind::predicted},
            Call{"repeat", second, PictureKind::keyframe},
            Call{"repeat", second * 14 / 10, PictureKind::predicted}));
}

// Shown 0, 1, 2 and so on, decoded 0, 2, 1, 4, 3.
TEST_F(AnyVideoEncoderTests, PicturesThatComeOutLateAndInAnotherOrderAreCutAndTimedAsEver)
{
    encoders.state->isLate = true;
    makeWriter();
    for (int index = 0; index < 15; ++index)
        append(100 * index, true);
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    EXPECT_EQ(encoders.state->calls[10], (Call{"encode", second, PictureKind::keyframe}));
    ASSERT_EQ(collector.segments.size(), 2U);
    EXPECT_THAT(
        text(collector.segments[0].data), HasSubstr("picture 0;picture 2;picture 1;picture 4;picture 3;"));
    EXPECT_THAT(text(collector.segments[0].data), HasSubstr("picture 9;"));
    EXPECT_THAT(text(collector.segments[1].data), HasSubstr("picture 10;picture 12;picture 11;"));
    EXPECT_EQ(collector.segments[0].report.duration, mediaTime(second));
    EXPECT_EQ(collector.segments[1].report.earliestPresentationTime, mediaTime(second));
    // The last frame lasts a thirtieth of a second.
    EXPECT_EQ(collector.segments[1].report.duration, mediaTime(second * 4 / 10 + second / 30));
}

TEST_F(AnyVideoEncoderTests, WhatTheEncoderStillHasComesOutAtTheEnd)
{
    encoders.state->isLate = true;
    makeWriter();
    append(0, true);
    append(100, true);
    append(200, false);
    append(300, false);
    EXPECT_EQ(writer->finishWriting(), AssetWriterStatus::completed);

    ASSERT_EQ(collector.segments.size(), 1U);
    EXPECT_THAT(text(collector.segments[0].data), HasSubstr("picture 0;picture 2;picture 1;"));
    EXPECT_EQ(encoders.state->calls.back(), (Call{"repeat", second * 3 / 10, PictureKind::predicted}));
    EXPECT_EQ(collector.segments[0].report.duration, mediaTime(second * 3 / 10 + second / 30));
}

TEST_F(AnyVideoEncoderTests, SettingsThatTheEncoderRefusesGiveNoWriter)
{
    encoders.state->refusesSettings = true;
    EXPECT_EQ(MP4VideoAssetWriter::make(encoders, {.width = 64, .height = 48}, MediaTime{1, 1}, collector),
        nullptr);
}

} // namespace
} // namespace glimto
