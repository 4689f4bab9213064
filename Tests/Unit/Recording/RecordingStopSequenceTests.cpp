#include "Recording/RecordingStopSequence.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "ScreenSegmentRecorderFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

using RecordingStopSequenceTests = ScreenSegmentRecorderFixture;

// A stage that hangs until the test is over, and then ends.
class HangingStage {
public:
    std::function<void()> operation()
    {
        return [released = released_, ended = ended_] {
            released.wait();
            ended->set_value();
        };
    }

    void letEnd()
    {
        release_.set_value();
        EXPECT_EQ(ended_->get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }

private:
    std::promise<void> release_;
    std::shared_future<void> released_ = release_.get_future().share();
    std::shared_ptr<std::promise<void>> ended_
        = std::make_shared<std::promise<void>>(); // shared with the stage
};

TEST_F(RecordingStopSequenceTests, AnErrorOfTheStreamsStopPassesUpAndIsCleanedUp)
{
    stream.stopError = std::make_exception_ptr(PlatformError("X11", 3, "cannot stop"));

    EXPECT_EQ(recordError(), "cannot stop");
    EXPECT_FALSE(wasTold("GLIMTO_RECORDING_STATUS=stopped"));
    expectCleanedUp();
}

TEST_F(RecordingStopSequenceTests, AStreamThatFailsInTheLastMomentIsTheReasonForATakeWithoutFrames)
{
    clock.onSleep = nullptr;
    stream.onStop = [this] {
        stream.fail(std::make_exception_ptr(PlatformError("X11", 1005, "The X server does not answer.")));
    };

    EXPECT_EQ(recordError(), "The X server does not answer.");
    expectCleanedUp();
}

TEST_F(RecordingStopSequenceTests, TheStagesOfTheEndHaveTheirLimits)
{
    EXPECT_EQ(limits.captureStream, 15s);
    EXPECT_EQ(limits.segmentWriter, 60s);
    EXPECT_EQ(limits.thumbnail, 15s);
}

TEST_F(RecordingStopSequenceTests, AStreamThatHangsWhenStoppedFailsWithTheTimeLimit)
{
    HangingStage hanging;
    limits.captureStream = 20ms;
    stream.onStop = hanging.operation();

    EXPECT_EQ(recordError(), "Stopping capture timed out after 0s at stage: stopping capture stream");
    EXPECT_FALSE(wasTold("GLIMTO_RECORDING_STATUS=stopped"));
    expectCleanedUp();
    hanging.letEnd();
}

TEST_F(RecordingStopSequenceTests, AWriterThatHangsFailsWithTheTimeLimit)
{
    HangingStage hanging;
    limits.segmentWriter = 20ms;
    encoder.onFinish = hanging.operation();

    EXPECT_EQ(recordError(), "Stopping capture timed out after 0s at stage: finishing segment writer");
    EXPECT_TRUE(wasTold("GLIMTO_RECORDING_STATUS=stopped"));
    expectCleanedUp();
    hanging.letEnd();
}

TEST_F(RecordingStopSequenceTests, AWriterThatHangsIsToldEvenWhenTheStreamFailedInTheLastMoment)
{
    HangingStage hanging;
    limits.segmentWriter = 20ms;
    stream.onStop = [this] {
        stream.fail(std::make_exception_ptr(PlatformError("X11", 1005, "The X server does not answer.")));
    };
    encoder.onFinish = hanging.operation();

    EXPECT_EQ(recordError(), "Stopping capture timed out after 0s at stage: finishing segment writer");
    hanging.letEnd();
}

TEST_F(RecordingStopSequenceTests, AThumbnailThatHangsFailsWithTheTimeLimit)
{
    HangingStage hanging;
    limits.thumbnail = 20ms;
    // The write goes on with the codec after it was let go of, so this one outlives the test.
    static FakeImageCodec codec;
    codec.beforeEncoding = hanging.operation();
    PlatformServices lastingServices = servicesWith(codec);
    ScreenSegmentRecorder recorder(lastingServices, {standardOutput, standardError}, clock, limits);
    try {
        recorder.record(options);
        FAIL() << "nothing was thrown";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "Stopping capture timed out after 0s at stage: waiting for thumbnail");
    }

    EXPECT_TRUE(stream.outputsRemoved);
    EXPECT_FALSE(std::filesystem::exists(take / "manifest.json"));
    hanging.letEnd();
    // The file is the last thing of the take that the write touches.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!std::filesystem::exists(take / "thumbnail.jpg") && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_TRUE(std::filesystem::exists(take / "thumbnail.jpg"));
}

TEST_F(RecordingStopSequenceTests, AThumbnailThatFailsDoesNotFailTheRecording)
{
    images.fails = true;
    const auto metadata = record();

    EXPECT_EQ(metadata.thumbnailPath, std::nullopt);
    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: could not finalize thumbnail JPEG"});
    EXPECT_FALSE(wasTold("Thumbnail: " + root + "/thumbnail.jpg"));
    EXPECT_TRUE(wasTold(R"({"kind":"completed","state":"completed"})"));
}

TEST_F(RecordingStopSequenceTests, PlaylistsThatCannotBeWrittenFailTheFinalization)
{
    stream.onStart
        = [this] { std::filesystem::create_directories(take / "segments" / "playlist.m3u8" / "in the way"); };
    try {
        record();
        FAIL() << "nothing was thrown";
    } catch (const GlimtoCaptureLifecycleError& error) {
        EXPECT_EQ(error.code(), "finalization_failed");
        EXPECT_EQ(
            std::string(error.what()), "Could not write " + root + "/segments/playlist.m3u8: Is a directory");
    }

    EXPECT_TRUE(wasTold("Glimto stop: writing playlists and manifest"));
    EXPECT_FALSE(wasTold(R"({"kind":"completed","state":"completed"})"));
    EXPECT_EQ(directory.text("take/segments/video/segment_000.m4s"), "MEDIA");
}

} // namespace
} // namespace glimto
