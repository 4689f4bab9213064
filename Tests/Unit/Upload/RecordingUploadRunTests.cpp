#include "Upload/RecordingUploadRun.h"

#include <memory>

#include "UploadTestSupport.h"
#include "Upload/TaskCancellationError.h"

namespace glimto {
namespace {

using State = RecordingUploadJob::State;
using std::chrono::seconds;

class RecordingUploadRunTests : public UploadTests {
protected:
    // A run whose recording has begun, asleep until its background upload starts.
    RecordingUploadRun& startedRun()
    {
        run = std::make_unique<RecordingUploadRun>(options, job, services);
        run->start();
        run->captureStarted();
        return *run;
    }

    // Lets the background sleep end and waits until the next one begins.
    void letPassRun()
    {
        const std::size_t naps = clock.naps().size();
        clock.wake();
        ASSERT_TRUE(clock.waitForNap(naps + 1));
    }

    void answerEveryPutWith(int status)
    {
        api.interrupt = [status](const std::string& line) {
            return line.starts_with("PUT") ? std::optional(HTTPResponse{status, ""}) : std::nullopt;
        };
    }

    std::unique_ptr<RecordingUploadRun> run;
};

TEST_F(RecordingUploadRunTests, StartingMakesTheRemoteRecording)
{
    RecordingUploadRun unstarted(options, job, services);
    EXPECT_TRUE(api.log().empty());
    unstarted.start();
    EXPECT_EQ(api.log(), std::vector<std::string>({"POST /api/recordings"}));
    EXPECT_EQ(standardOutput.text(), "Glimto upload: recording session ready\n");
    EXPECT_EQ(job.read().state, State::prepared);
    unstarted.captureStarted();
    EXPECT_EQ(job.read().state, State::recording);
    unstarted.captureFinished();
    EXPECT_EQ(job.read().state, State::ready);
}

TEST_F(RecordingUploadRunTests, AServerThatRefusesIsToldAtTheStart)
{
    api.interrupt = [](const auto&) { return HTTPResponse{401, R"({"error":{"message":"who?"}})"}; };
    RecordingUploadRun refused(options, job, services);
    EXPECT_EQ(failureOf([&] { refused.start(); }), "HTTP 401 for /api/recordings: who?");
    EXPECT_EQ(standardOutput.text(), "");
    EXPECT_TRUE(clock.naps().empty());
}

TEST_F(RecordingUploadRunTests, SegmentsGoInTheBackgroundAfterTheThreshold)
{
    options.backgroundUploadThresholdSeconds = 2.5;
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestSegment(take(), "video", 0);
    letPassRun();
    EXPECT_EQ(
        clock.naps(), std::vector<std::chrono::nanoseconds>({std::chrono::milliseconds(2500), seconds(1)}));
    EXPECT_EQ(object("segments/video/segment_000.m4s"), "video0");
    letPassRun();
    EXPECT_EQ(standardOutput.text(),
        "Glimto upload: recording session ready\n"
        "Glimto upload: background upload started\n"
        "Uploaded object: org/rec/segments/video/segment_000.m4s\n"
        "Glimto upload: background uploaded 1 object(s)\n");
}

TEST_F(RecordingUploadRunTests, NothingGoesBeforeTheRecordingHasBegun)
{
    writeTestTake(take(), 2); // of an earlier recording
    RecordingUploadRun early(options, job, services);
    early.start();
    ASSERT_TRUE(clock.waitForNap(1));
    letPassRun();
    EXPECT_TRUE(api.objects().empty());
    std::filesystem::remove_all(take() / "segments");
    early.captureStarted();
    writeTestSegment(take(), "video", 0);
    letPassRun();
    EXPECT_EQ(object("segments/video/segment_000.m4s"), "video0");
    EXPECT_EQ(object("segments/video/segment_001.m4s"), "none");
}

TEST_F(RecordingUploadRunTests, WithoutAThresholdEverythingGoesAtTheEnd)
{
    options.backgroundUploadThresholdSeconds = 0;
    startedRun();
    writeTestTake(take(), 1);
    EXPECT_EQ(run->complete().checkedObjectCount, 5);
    EXPECT_TRUE(clock.naps().empty());
    EXPECT_THAT(standardOutput.text(), testing::Not(testing::HasSubstr("background")));
    EXPECT_EQ(job.read().state, State::completed);
    EXPECT_EQ(job.read().uploadAttempts, 1U);
}

TEST_F(RecordingUploadRunTests, ARecordingShorterThanTheThresholdGoesAtTheEnd)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestTake(take(), 1);
    run->complete();
    EXPECT_THAT(standardOutput.text(), testing::Not(testing::HasSubstr("background")));
    EXPECT_EQ(api.requestedKeys().size(), 1U);
}

TEST_F(RecordingUploadRunTests, WhatWentInTheBackgroundIsNotAskedForAtTheEnd)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestTake(take(), 1);
    letPassRun();
    run->complete();
    EXPECT_EQ(api.requestedKeys().size(), 2U);
    EXPECT_EQ(api.requestedKeys()[1],
        std::vector<std::string>({"org/rec/manifest.json", "org/rec/segments/playlist.m3u8"}));
    EXPECT_THAT(object("manifest.json"), testing::HasSubstr("org/rec/segments/playlist.m3u8"));
}

TEST_F(RecordingUploadRunTests, AFailedPassIsToldOnceAndRetried)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestSegment(take(), "video", 0);
    answerEveryPutWith(500);
    letPassRun();
    letPassRun();
    const std::string warning
        = "warning: background upload will retry: "
          "HTTP 500 for upload org/rec/segments/video/segment_000.m4s: request failed\n";
    EXPECT_EQ(standardError.text(), warning + warning);
    api.interrupt = nullptr;
    letPassRun();
    EXPECT_EQ(object("segments/video/segment_000.m4s"), "video0");
    EXPECT_EQ(job.read().state, State::recording);
}

TEST_F(RecordingUploadRunTests, ALostRemoteRecordingIsMadeOnlyOnce)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    letPassRun();
    letPassRun();
    EXPECT_EQ(api.log(), std::vector<std::string>({"POST /api/recordings"}));
}

TEST_F(RecordingUploadRunTests, TheEndDoesNotWaitForATransfer)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestSegment(take(), "video", 0);
    transport.holdPuts();
    clock.wake();
    ASSERT_TRUE(transport.waitUntilHeld(1));
    run.reset();
    EXPECT_TRUE(transport.waitUntilHeld(0));
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(RecordingUploadRunTests, TheMarkerEndsTheBackgroundWithoutAWord)
{
    startedRun();
    ASSERT_TRUE(clock.waitForNap(1));
    writeTestTake(take(), 1);
    cancel();
    clock.wake();
    EXPECT_THROW(run->complete(), TaskCancellationError);
    EXPECT_EQ(standardError.text(), "");
    EXPECT_EQ(api.log(), std::vector<std::string>({"POST /api/recordings"}));
    EXPECT_EQ(job.read().state, State::canceled);
    EXPECT_EQ(job.read().lastError, "The upload was canceled.");
}

TEST_F(RecordingUploadRunTests, AFailedEndLeavesAFailedJob)
{
    startedRun();
    writeTestTake(take(), 1);
    answerEveryPutWith(403);
    EXPECT_THROW(run->complete(), CLIError);
    EXPECT_EQ(job.read().state, State::failed);
    EXPECT_EQ(job.read().lastError, "HTTP 403 for upload org/rec/manifest.json: request failed");
    EXPECT_EQ(job.read().uploadAttempts, 1U);
}

TEST_F(RecordingUploadRunTests, ARecordingThatFailedLeavesAFailedJob)
{
    startedRun().fail(std::make_exception_ptr(CLIError("no frames")));
    EXPECT_EQ(job.read().state, State::failed);
    EXPECT_EQ(job.read().lastError, "no frames");
    EXPECT_EQ(job.read().uploadAttempts, 0U);
}

TEST_F(RecordingUploadRunTests, AJobThatCannotBeWrittenIsOnlyAWarning)
{
    startedRun();
    std::filesystem::remove(take() / "upload-job.json");
    run->fail(std::make_exception_ptr(CLIError("no frames")));
    EXPECT_THAT(standardError.text(), testing::StartsWith("warning: the upload job could not be updated: "));
}

} // namespace
} // namespace glimto
