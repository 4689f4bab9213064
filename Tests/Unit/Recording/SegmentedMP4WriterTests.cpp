#include "Recording/SegmentedMP4Writer.h"

#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "SegmentedMP4WriterFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

constexpr const char* noFramesMessage = "No screen frames were captured. Check Screen Recording permission "
                                        "and try moving the cursor during the "
                                        "capture.";

class SegmentedMP4WriterTests : public SegmentedMP4WriterFixture {
protected:
    SegmentedMP4WriterTests()
        : SegmentedMP4WriterFixture(videoSettings())
    {
    }

    FakeAssetWriterState& encoder = *factory.writer;
};

TEST_F(SegmentedMP4WriterTests, ConfiguresTheEncoder)
{
    ASSERT_TRUE(encoder.settings.has_value());
    EXPECT_EQ(encoder.settings->width, 64);
    EXPECT_EQ(encoder.settings->height, 48);
    EXPECT_EQ(encoder.settings->framesPerSecond, 30);
    EXPECT_EQ(encoder.settings->averageBitRate, 2'000'000);
    EXPECT_EQ(encoder.settings->maxKeyFrameInterval, 120);
    EXPECT_EQ(encoder.segmentInterval, (MediaTime{2400, 600}));
}

TEST_F(SegmentedMP4WriterTests, SettingsThatTheEncoderRefusesFail)
{
    encoder.refusesSettings = true;
    try {
        makeWriter(videoSettings());
        FAIL() << "nothing was thrown";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "AVAssetWriter refused the H.264 video input.");
    }
}

TEST_F(SegmentedMP4WriterTests, AWholeTakeComesBackAsItsSegments)
{
    writer->appendVideoFrame(fakeFrame(1000));
    encoder.outputSegment("first", 4.0);
    writer->appendVideoFrame(fakeFrame(2000));
    const auto tracks = writer->finish();

    ASSERT_EQ(tracks.video.size(), 2U);
    EXPECT_EQ(tracks.video[0].relativeKey, "segments/video/segment_000.m4s");
    EXPECT_EQ(tracks.video[0].duration, 4.0);
    EXPECT_EQ(tracks.video[0].bytes, 5);
    EXPECT_EQ(tracks.video[0].earliestPresentationTime, 0.0);
    EXPECT_EQ(tracks.video[1].relativeKey, "segments/video/segment_001.m4s");
    EXPECT_EQ(tracks.video[1].duration, 1.0);
    EXPECT_TRUE(tracks.audio.empty());
    EXPECT_EQ(writer->initializationSegmentKey(), "segments/video/init.mp4");
    EXPECT_EQ(take.files(),
        (Lines{
            "segments/video/init.mp4", "segments/video/segment_000.m4s", "segments/video/segment_001.m4s"}));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterTests, ATakeKnowsHowItsVideoIsEncoded)
{
    encoder.codec = {.name = "another", .playlistCodec = "mp4v.20.9"};
    writer->appendVideoFrame(fakeFrame(1000));
    EXPECT_EQ(writer->finish().videoCodec, encoder.codec);
}

TEST_F(SegmentedMP4WriterTests, TheFirstFrameStartsTheTimeline)
{
    writer->appendVideoFrame(fakeFrame(5'000'000'123));
    writer->appendVideoFrame(fakeFrame(5'033'000'123));

    ASSERT_EQ(encoder.frames.size(), 2U);
    EXPECT_EQ(encoder.frames[0].presentationTime, MediaTime::fromNanoseconds(0));
    EXPECT_EQ(encoder.frames[1].presentationTime, MediaTime::fromNanoseconds(33'000'000));
}

TEST_F(SegmentedMP4WriterTests, RetimingKeepsEverythingElseOfAFrame)
{
    VideoFrame frame = fakeFrame(77);
    frame.sequenceNumber = 12;
    writer->appendVideoFrame(frame);

    EXPECT_EQ(encoder.frames[0].picture, frame.picture);
    EXPECT_EQ(encoder.frames[0].sequenceNumber, 12U);
    EXPECT_EQ(encoder.frames[0].changedRects, frame.changedRects);
}

TEST_F(SegmentedMP4WriterTests, TheAnchorIsTheFirstFramesTime)
{
    EXPECT_EQ(writer->firstVideoSamplePtsAnchor(), std::nullopt);
    VideoFrame frame = fakeFrame(0);
    frame.presentationTime = {10, 3};
    writer->appendVideoFrame(frame);
    writer->appendVideoFrame(fakeFrame(9'000'000'000));

    EXPECT_EQ(writer->firstVideoSamplePtsAnchor(), (MediaTime{10, 3}));
    EXPECT_EQ(writer->firstVideoSamplePtsAnchor()->nanoseconds(), 3'333'333'333);
}

TEST_F(SegmentedMP4WriterTests, WithoutAnyFrameFinishingFails)
{
    EXPECT_EQ(finishError(), noFramesMessage);
}

TEST_F(SegmentedMP4WriterTests, AFrameWithoutPictureIsIgnored)
{
    VideoFrame frame = fakeFrame(0);
    frame.picture = nullptr;
    writer->appendVideoFrame(frame);

    EXPECT_EQ(finishError(), noFramesMessage);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterTests, AFrameWithoutTimeIsCountedAndDoesNotStartTheTimeline)
{
    VideoFrame frame = fakeFrame(0);
    frame.presentationTime = {};
    writer->appendVideoFrame(frame);
    writer->appendVideoFrame(fakeFrame(50));
    writer->finish();

    EXPECT_EQ(encoder.frames.size(), 1U);
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 1 sample buffer(s) while writing"});
}

TEST_F(SegmentedMP4WriterTests, DroppedFramesAreCountedAndTheTakeSucceeds)
{
    writer->appendVideoFrame(fakeFrame(0));
    encoder.isReady = false;
    writer->appendVideoFrame(fakeFrame(1));
    writer->appendVideoFrame(fakeFrame(2));
    encoder.isReady = true;
    encoder.refusesMedia = true;
    writer->appendVideoFrame(fakeFrame(3));
    writer->appendVideoFrame(fakeFrame(4));

    EXPECT_EQ(writer->finish().video.size(), 1U);
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 4 sample buffer(s) while writing"});
}

TEST_F(SegmentedMP4WriterTests, ATakeWhoseFramesAllFailedFailsWithoutTheWarning)
{
    encoder.isReady = false;
    writer->appendVideoFrame(fakeFrame(0));

    EXPECT_EQ(finishError(), "Capture ended without appended frames.");
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterTests, AnEncoderThatDoesNotStartIsTheWritersFailure)
{
    encoder.failsToStart = true;
    encoder.error = "the encoder has no memory";
    writer->appendVideoFrame(fakeFrame(0));
    writer->appendVideoFrame(fakeFrame(1));

    EXPECT_EQ(errorFacts(writer->failure()).message, "the encoder has no memory");
    EXPECT_EQ(encoder.cancels, 1);
    EXPECT_EQ(finishError(), noFramesMessage);
}

TEST_F(SegmentedMP4WriterTests, AnEncoderThatFailsWhileRecordingIsTheWritersFailure)
{
    writer->appendVideoFrame(fakeFrame(0));
    EXPECT_EQ(writer->failure(), nullptr);
    encoder.error = "the encoder broke";
    encoder.status = AssetWriterStatus::failed;

    EXPECT_EQ(errorFacts(writer->failure()).message, "the encoder broke");
}

TEST_F(SegmentedMP4WriterTests, AnEncoderThatEndsBadlyFailsWithItsStatus)
{
    writer->appendVideoFrame(fakeFrame(0));
    encoder.finalStatus = AssetWriterStatus::failed;
    encoder.error = "the encoder broke";

    EXPECT_EQ(finishError(), "video AVAssetWriter finished with status 3");
    EXPECT_EQ(standardError.lines(), Lines{"warning: the encoder broke"});
}

TEST_F(SegmentedMP4WriterTests, ATakeWithoutInitializationSegmentFailsAfterTheWarning)
{
    encoder.outputsInitialization = false;
    writer->appendVideoFrame(fakeFrame(0));
    encoder.isReady = false;
    writer->appendVideoFrame(fakeFrame(1));

    EXPECT_EQ(finishError(), "AVAssetWriter did not output an initialization segment.");
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 1 sample buffer(s) while writing"});
}

TEST_F(SegmentedMP4WriterTests, ATakeWithoutSegmentsFails)
{
    encoder.outputsLastSegment = false;
    writer->appendVideoFrame(fakeFrame(0));

    EXPECT_EQ(finishError(), "AVAssetWriter did not output media segments.");
}

TEST_F(SegmentedMP4WriterTests, AFileThatCannotBeWrittenIsTheWritersFailureAndFailsTheTake)
{
    std::filesystem::remove_all(plan.segmentsDirectory);
    writer->appendVideoFrame(fakeFrame(0));
    const std::string message = "Could not write " + (plan.videoSegmentsDirectory / "init.mp4").string()
        + ": No such file or directory";

    EXPECT_EQ(finishError(), message);
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 1 sample buffer(s) while writing"});
    EXPECT_EQ(errorFacts(writer->failure()).message, message);
}

TEST_F(SegmentedMP4WriterTests, SegmentsAreOnTheDiskWhileTheRecordingRuns)
{
    const auto file = plan.videoSegmentsDirectory / "segment_000.m4s";
    writer->appendVideoFrame(fakeFrame(0));
    encoder.outputSegment("first", 4.0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(file) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();

    EXPECT_EQ(take.text("segments/video/segment_000.m4s"), "first");
}

TEST_F(SegmentedMP4WriterTests, TheEncoderMayPutOutSegmentsDuringAnAppend)
{
    encoder.onAppend = [&] { encoder.outputSegment("during", 2.0); };
    writer->appendVideoFrame(fakeFrame(0));
    writer->appendVideoFrame(fakeFrame(1));

    EXPECT_EQ(writer->finish().video.size(), 3U);
}

TEST_F(SegmentedMP4WriterTests, FramesAfterTheEndAreIgnored)
{
    writer->appendVideoFrame(fakeFrame(0));
    writer->finish();
    writer->appendVideoFrame(fakeFrame(1));

    EXPECT_EQ(encoder.frames.size(), 1U);
}

TEST_F(SegmentedMP4WriterTests, CancellingKeepsFinishedSegmentsOnly)
{
    writer->appendVideoFrame(fakeFrame(0));
    encoder.outputSegment("whole", 4.0);
    encoder.outputPiece("half");
    writer->cancel();

    EXPECT_EQ(encoder.cancels, 1);
    EXPECT_EQ(take.files(), (Lines{"segments/video/init.mp4", "segments/video/segment_000.m4s"}));
}

TEST_F(SegmentedMP4WriterTests, ACancelledWriterTakesNoFramesAndCannotFinish)
{
    writer->appendVideoFrame(fakeFrame(0));
    writer->cancel();
    writer->cancel();
    writer->appendVideoFrame(fakeFrame(1));

    EXPECT_EQ(encoder.cancels, 1);
    EXPECT_EQ(encoder.frames.size(), 1U);
    EXPECT_EQ(finishError(), noFramesMessage);
}

TEST_F(SegmentedMP4WriterTests, CancellingACompletedTakeChangesNothing)
{
    writer->appendVideoFrame(fakeFrame(0));
    writer->finish();
    writer->cancel();

    EXPECT_EQ(encoder.cancels, 0);
    EXPECT_EQ(take.files(), (Lines{"segments/video/init.mp4", "segments/video/segment_000.m4s"}));
}

TEST_F(SegmentedMP4WriterTests, CancellingWorksWhileFinishingHangs)
{
    std::promise<void> release;
    std::promise<void> hanging;
    encoder.onFinish = [&] {
        hanging.set_value();
        release.get_future().wait();
    };
    writer->appendVideoFrame(fakeFrame(0));
    std::thread stage([&] { EXPECT_EQ(finishError(), "video AVAssetWriter finished with status 4"); });
    hanging.get_future().wait();
    writer->cancel();
    release.set_value();
    stage.join();

    EXPECT_EQ(take.files(), Lines{"segments/video/init.mp4"});
}

TEST_F(SegmentedMP4WriterTests, AWriterThatIsDestroyedLeavesNoUnfinishedSegment)
{
    writer->appendVideoFrame(fakeFrame(0));
    encoder.outputPiece("half");
    writer.reset();

    EXPECT_EQ(take.files(), Lines{"segments/video/init.mp4"});
}

} // namespace
} // namespace glimto
