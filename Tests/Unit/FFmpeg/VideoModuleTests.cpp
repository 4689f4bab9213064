#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "ModuleAssetWriters.h"
#include "Support/Errors.h"
#include "Unit/FFmpeg/DecodedMedia.h"
#include "Fakes/SegmentCollector.h"

namespace glimto {
namespace {

constexpr std::int64_t ticksPerSecond = 90'000;

class VideoModuleTests : public testing::Test {
protected:
    void makeWriter(int width, int height, double segmentSeconds, int framesPerSecond = 30)
    {
        width_ = width;
        height_ = height;
        const VideoEncodingSettings settings = {.width = width,
            .height = height,
            .framesPerSecond = framesPerSecond,
            .averageBitRate = 2'000'000,
            .maxKeyFrameInterval = 4000,
            .maxKeyFrameIntervalDuration = std::chrono::duration<double>(segmentSeconds)};
        writer_ = moduleAssetWriters().makeVideoWriter(
            settings, MediaTime::fromSeconds(segmentSeconds, 600), collector_);
        ASSERT_TRUE(writer_);
        ASSERT_TRUE(writer_->startWriting());
    }

    VideoFrame frame(double seconds, std::uint8_t gray, bool isChanged = true)
    {
        auto bytes = std::make_shared<std::vector<std::uint8_t>>(
            static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4, gray);
        auto picture = std::make_shared<MemoryPicture>(
            PixelBuffer{width_, height_, static_cast<std::size_t>(width_) * 4, bytes->data(), bytes});
        VideoFrame result;
        result.status = FrameStatus::complete;
        result.presentationTime = MediaTime::fromSeconds(seconds, 1'000'000'000);
        result.picture = std::move(picture);
        result.sequenceNumber = nextSequenceNumber_++;
        if (isChanged)
            result.changedRects = {{0, 0, width_, height_}};
        return result;
    }

    bool appendWhenReady(const VideoFrame& next)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!writer_->isReadyForMoreMediaData() && writer_->status() == AssetWriterStatus::writing
            && std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        return writer_->append(next);
    }

    void appendMotion(int frameCount, int framesPerSecond)
    {
        for (int index = 0; index < frameCount; ++index)
            ASSERT_TRUE(appendWhenReady(
                frame(static_cast<double>(index) / framesPerSecond, static_cast<std::uint8_t>(index * 5))));
    }

    SegmentCollector collector_;
    std::unique_ptr<VideoAssetWriter> writer_;
    int width_ = 0;
    int height_ = 0;
    std::uint64_t nextSequenceNumber_ = 0;
};

TEST_F(VideoModuleTests, MovingPictureIsCutAtTheIntervalWithExactReports)
{
    makeWriter(64, 48, 1.0);
    appendMotion(75, 30);
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);

    ASSERT_EQ(collector_.segments.size(), 3U);
    EXPECT_EQ(collector_.segments[0].report.duration, (MediaTime{ticksPerSecond, ticksPerSecond}));
    EXPECT_EQ(
        collector_.segments[1].report.earliestPresentationTime, (MediaTime{ticksPerSecond, ticksPerSecond}));
    EXPECT_EQ(collector_.segments[2].report.duration, (MediaTime{ticksPerSecond / 2, ticksPerSecond}));
}

TEST_F(VideoModuleTests, EverySegmentDecodesAloneAfterTheInitializationSegment)
{
    makeWriter(64, 48, 1.0);
    appendMotion(75, 30);
    writer_->finishWriting();

    for (const auto& segment : collector_.segments) {
        const DecodedMedia media = decodeMedia(collector_.playable({segment}));
        ASSERT_FALSE(media.pictures.empty());
        EXPECT_TRUE(media.pictures.front().isKeyframe);
        EXPECT_EQ(media.pictures.front().time, segment.report.earliestPresentationTime->value);
        EXPECT_EQ(
            media.duration, segment.report.earliestPresentationTime->value + segment.report.duration->value);
    }
}

TEST_F(VideoModuleTests, TakeIsHighProfileAndShowsEveryFrameAtItsTime)
{
    makeWriter(64, 48, 1.0);
    appendMotion(45, 30);
    writer_->finishWriting();

    const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
    EXPECT_EQ(media.profile, 100);
    ASSERT_EQ(media.pictures.size(), 45U);
    EXPECT_EQ(media.pictures[44].time, 44 * ticksPerSecond / 30);
    EXPECT_NEAR(media.pictures[20].firstLuma, 16 + 100 * 219 / 255, 3);
}

TEST_F(VideoModuleTests, StillPictureIsCutExactlyAtTheIntervalAndLastsToTheLastFrame)
{
    makeWriter(64, 48, 1.0);
    ASSERT_TRUE(appendWhenReady(frame(0, 200)));
    for (const double seconds : {0.45, 0.9, 1.35, 1.8, 2.25, 2.7})
        ASSERT_TRUE(appendWhenReady(frame(seconds, 200, false)));
    writer_->finishWriting();

    ASSERT_EQ(collector_.segments.size(), 3U);
    EXPECT_EQ(collector_.segments[0].report.duration, (MediaTime{ticksPerSecond, ticksPerSecond}));
    EXPECT_EQ(collector_.segments[2].report.earliestPresentationTime,
        (MediaTime{2 * ticksPerSecond, ticksPerSecond}));
    const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
    EXPECT_EQ(media.duration, 27 * ticksPerSecond / 10 + ticksPerSecond / 30);
    EXPECT_EQ(media.pictures.back().time, 27 * ticksPerSecond / 10);
    EXPECT_LE(media.pictures.size(), 6U);
}

TEST_F(VideoModuleTests, PictureAfterAMissedFrameIsTakenWhole)
{
    makeWriter(64, 48, 1.0);
    ASSERT_TRUE(appendWhenReady(frame(0, 0)));
    frame(0.1, 250); // never appended
    VideoFrame next = frame(0.2, 250, false);
    ASSERT_TRUE(appendWhenReady(next));
    writer_->finishWriting();

    const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
    ASSERT_EQ(media.pictures.size(), 2U);
    EXPECT_GT(media.pictures[1].firstLuma, 200);
}

TEST_F(VideoModuleTests, OddSizeIsEncodedAsTheNextEvenSize)
{
    makeWriter(65, 47, 1.0);
    appendMotion(3, 30);
    writer_->finishWriting();

    const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
    EXPECT_EQ(media.width, 66);
    EXPECT_EQ(media.height, 48);
}

TEST_F(VideoModuleTests, SmallestPictureIsEncoded)
{
    makeWriter(2, 2, 1.0);
    appendMotion(3, 30);
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_EQ(decodeMedia(collector_.playable(collector_.segments)).width, 2);
}

TEST_F(VideoModuleTests, SegmentShorterThanAFrameHoldsOneFrame)
{
    makeWriter(64, 48, 0.001);
    appendMotion(10, 30);
    writer_->finishWriting();
    EXPECT_EQ(collector_.segments.size(), 10U);
}

TEST_F(VideoModuleTests, FramesAreRefusedWhileThreeAreHeld)
{
    // The encoder stands still inside the delegate until the gate opens.
    std::promise<void> gate;
    collector_.beforeInitialization
        = [opened = gate.get_future().share()] { opened.wait_for(std::chrono::seconds(20)); };
    makeWriter(64, 48, 1.0);
    EXPECT_TRUE(writer_->append(frame(0, 10)));
    EXPECT_TRUE(writer_->isReadyForMoreMediaData());
    EXPECT_TRUE(writer_->append(frame(0.1, 20)));
    EXPECT_TRUE(writer_->append(frame(0.2, 30)));
    EXPECT_FALSE(writer_->isReadyForMoreMediaData());
    EXPECT_FALSE(writer_->append(frame(0.3, 40)));
    gate.set_value();
    EXPECT_TRUE(appendWhenReady(frame(0.4, 50)));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_EQ(decodeMedia(collector_.playable(collector_.segments)).pictures.size(), 4U);
}

TEST_F(VideoModuleTests, FrameThatIsNotLaterThanTheLastIsRefused)
{
    makeWriter(64, 48, 1.0);
    ASSERT_TRUE(appendWhenReady(frame(1.0, 10)));
    EXPECT_FALSE(appendWhenReady(frame(1.0, 20)));
    EXPECT_FALSE(appendWhenReady(frame(0.5, 20)));
}

TEST_F(VideoModuleTests, FrameOfAnotherSizeIsRefused)
{
    makeWriter(64, 48, 1.0);
    VideoFrame other = frame(0, 10);
    other.picture = std::make_shared<MemoryPicture>(
        PixelBuffer{32, 48, 128, other.picture->pixels().bytes, other.picture});
    EXPECT_FALSE(writer_->append(other));
}

TEST_F(VideoModuleTests, CancelDeliversNothingMore)
{
    makeWriter(64, 48, 1.0);
    appendMotion(10, 30);
    writer_->cancelWriting();
    EXPECT_FALSE(writer_->append(frame(2, 10)));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::cancelled);
    EXPECT_TRUE(collector_.segments.empty());
}

// Another coder with parameter sets of its own takes over in the middle of a segment and gives back later.
TEST_F(VideoModuleTests, HardSceneBetweenEasyOnesIsWholeAndCutAsEver)
{
    makeWriter(320, 240, 1.0);
    for (int index = 0; index < 150; ++index) {
        const bool isHard = index >= 40 && index < 80;
        VideoFrame next = frame(index / 30.0, 120, index < 100);
        if (isHard) {
            auto* bytes = const_cast<std::uint8_t*>(next.picture->pixels().bytes);
            for (std::size_t at = 0; at < std::size_t{320} * 4 * 240; ++at)
                bytes[at] = static_cast<std::uint8_t>(
                    (at * 2654435761U + static_cast<std::size_t>(index) * 40503U) >> 13U);
        }
        ASSERT_TRUE(appendWhenReady(next));
    }
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);

    ASSERT_EQ(collector_.segments.size(), 5U);
    for (const auto& segment : collector_.segments)
        EXPECT_EQ(segment.report.duration, (MediaTime{ticksPerSecond, ticksPerSecond}));
    const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
    EXPECT_GE(media.pictures.size(), 100U);
    EXPECT_EQ(media.pictures[99].time, 99 * ticksPerSecond / 30);
    EXPECT_NEAR(media.pictures[30].firstLuma, 16 + 120 * 219 / 255, 3);
    EXPECT_NEAR(media.pictures[99].firstLuma, 16 + 120 * 219 / 255, 3);
    EXPECT_NEAR(media.pictures.back().firstLuma, 16 + 120 * 219 / 255, 3);
}

// Motion that cannot be made fine: pictures are predicted from both sides, and come out late.
TEST_F(VideoModuleTests, EveryFrameOfAHardSceneIsShownAtItsTimeWhereverItEnds)
{
    for (const int frameCount : {1, 2, 3, 33, 34, 62}) {
        collector_ = {};
        nextSequenceNumber_ = 0;
        makeWriter(320, 240, 1.0);
        for (int index = 0; index < frameCount; ++index) {
            VideoFrame next = frame(index / 30.0, 0);
            auto* bytes = const_cast<std::uint8_t*>(next.picture->pixels().bytes);
            for (std::size_t at = 0; at < std::size_t{320} * 4 * 240; ++at)
                bytes[at] = static_cast<std::uint8_t>(
                    (at * 2654435761U + static_cast<std::size_t>(index / 2) * 40503U) >> 13U);
            ASSERT_TRUE(appendWhenReady(next));
        }
        EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);

        const DecodedMedia media = decodeMedia(collector_.playable(collector_.segments));
        ASSERT_EQ(media.pictures.size(), static_cast<std::size_t>(frameCount));
        for (int index = 0; index < frameCount; ++index)
            EXPECT_EQ(media.pictures[static_cast<std::size_t>(index)].time, index * ticksPerSecond / 30);
        EXPECT_EQ(media.duration, frameCount * ticksPerSecond / 30);
        for (const auto& segment : collector_.segments) {
            const DecodedMedia alone = decodeMedia(collector_.playable({segment}));
            EXPECT_TRUE(alone.pictures.front().isKeyframe);
            EXPECT_EQ(alone.pictures.front().time, segment.report.earliestPresentationTime->value);
        }
    }
}

// From the third segment on its keyframes are not encoded anew, and what comes later is predicted from them.
TEST_F(VideoModuleTests, PicturesAfterALongRestAreThoseAfterAShortOne)
{
    const auto picturesAfterRest = [this](int segmentsOfRest) {
        collector_ = {};
        nextSequenceNumber_ = 0;
        makeWriter(320, 240, 4.0);
        const auto append = [this](double seconds, int stripes, bool isChanged) {
            VideoFrame next = frame(seconds, 0, isChanged);
            auto* bytes = const_cast<std::uint8_t*>(next.picture->pixels().bytes);
            for (std::size_t at = 0; at < std::size_t{320} * 4 * 240; ++at)
                bytes[at] = static_cast<std::uint8_t>((at / 1280 / 8 + at / 4 % 320 / 8) % 2 * 180
                    + (at / 1280 < static_cast<std::size_t>(stripes) * 16 ? at % 70 : at % 50));
            ASSERT_TRUE(appendWhenReady(next));
        };
        append(0, 0, true);
        for (double seconds = 0.5; seconds < segmentsOfRest * 4 + 1; seconds += 0.5)
            append(seconds, 0, false);
        for (int stripes = 1; stripes < 12; ++stripes)
            append(segmentsOfRest * 4 + 1 + stripes * 0.1, stripes, true);
        EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
        std::vector<DecodedPicture> pictures = decodeMedia(collector_.playable(collector_.segments)).pictures;
        pictures.erase(pictures.begin(), pictures.end() - 12);
        return pictures;
    };
    const std::vector<DecodedPicture> expected = picturesAfterRest(1);
    ASSERT_TRUE(expected.front().isKeyframe);
    for (const int segmentsOfRest : {2, 3, 4, 8, 9}) {
        const std::vector<DecodedPicture> pictures = picturesAfterRest(segmentsOfRest);
        for (std::size_t index = 0; index < pictures.size(); ++index) {
            EXPECT_EQ(pictures[index].isKeyframe, expected[index].isKeyframe);
            EXPECT_TRUE(pictures[index].luma == expected[index].luma) << segmentsOfRest << ' ' << index;
        }
    }
}

TEST_F(VideoModuleTests, LongSegmentComesOutInPiecesOfBoundedSize)
{
    makeWriter(640, 480, 3600.0);
    for (int index = 0; index < 60; ++index) {
        VideoFrame noisy = frame(index / 30.0, 0);
        auto* bytes = const_cast<std::uint8_t*>(noisy.picture->pixels().bytes);
        for (std::size_t at = 0; at < std::size_t{640} * 4 * 480; ++at)
            bytes[at] = static_cast<std::uint8_t>(
                (at * 2654435761U + static_cast<std::size_t>(index) * 40503U) >> 13U);
        ASSERT_TRUE(appendWhenReady(noisy));
    }
    writer_->finishWriting();
    ASSERT_EQ(collector_.segments.size(), 1U);
    EXPECT_EQ(decodeMedia(collector_.playable(collector_.segments)).pictures.size(), 60U);
}

TEST(VideoModuleSettingsTests, SizeThatH264CannotHoldIsRefused)
{
    SegmentCollector collector;
    const VideoEncodingSettings settings = {.width = 40'000,
        .height = 40'000,
        .framesPerSecond = 30,
        .averageBitRate = 2'000'000,
        .maxKeyFrameInterval = 120,
        .maxKeyFrameIntervalDuration = std::chrono::seconds(4)};
    EXPECT_EQ(moduleAssetWriters().makeVideoWriter(settings, MediaTime{4, 1}, collector), nullptr);
}

} // namespace
} // namespace glimto
