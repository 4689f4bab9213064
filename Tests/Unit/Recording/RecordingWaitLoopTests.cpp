#include "Recording/RecordingWaitLoop.h"

#include <fstream>
#include <numeric>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeRecordingClock.h"
#include "Fakes/FakeStopRequests.h"
#include "RecordingTestSupport.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class RecordingWaitLoopTests : public ::testing::Test {
protected:
    void wait() { waitUntilDurationElapsedOrStopRequested(options, watch, stopRequests, clock, progress); }

    void recordUntilStopped()
    {
        options.recordUntilStopped = true;
        options.stopFileURL = stopFile;
    }

    // Runs `action` in the sleep that brings the waiting to `seconds`.
    void after(double seconds, std::function<void()> action)
    {
        const auto moment = clock.time + Seconds(seconds - 1e-6);
        clock.onSleep = [this, moment, action = std::move(action)] {
            if (clock.time >= moment)
                action();
        };
    }

    void createStopFile() { std::ofstream(stopFile) << ""; }

    double waited() const { return std::accumulate(clock.sleeps.begin(), clock.sleeps.end(), 0.0); }

    // The text of what wait() throws; empty when it throws nothing.
    std::string waitError()
    {
        try {
            wait();
        } catch (const std::exception& error) {
            return error.what();
        }
        return {};
    }

    Lines told() const { return withoutTimestamps(output.lines()); }

    TakeDirectory directory;
    std::filesystem::path stopFile = directory.path() / "stop";
    std::exception_ptr streamFailure;
    std::exception_ptr writerFailure;
    std::optional<std::string> microphoneFailure;
    RecordingWatch watch = {.streamFailure = [this] { return streamFailure; },
        .writerFailure = [this] { return writerFailure; },
        .microphoneFailure = [this] { return microphoneFailure; }};
    RecordOptions options;
    FakeStopRequests stopRequests;
    FakeRecordingClock clock;
    FakeLineOutput output;
    RecordingProgress progress{output, std::nullopt};
};

TEST_F(RecordingWaitLoopTests, EndsSilentlyWhenTheDurationHasPassed)
{
    options.durationSeconds = 0.5;
    wait();

    ASSERT_EQ(clock.sleeps.size(), 3U);
    EXPECT_DOUBLE_EQ(clock.sleeps[0], 0.2);
    EXPECT_DOUBLE_EQ(clock.sleeps[1], 0.2);
    EXPECT_NEAR(clock.sleeps[2], 0.1, 1e-9);
    EXPECT_EQ(told(), Lines());
}

TEST_F(RecordingWaitLoopTests, RecordingUntilStoppedNeedsAStopFile)
{
    options.recordUntilStopped = true;

    EXPECT_EQ(waitError(), "--until-stopped requires --stop-file.");
    EXPECT_TRUE(clock.sleeps.empty());
}

TEST_F(RecordingWaitLoopTests, AStopFileThatIsThereAlreadyEndsTheFirstRound)
{
    recordUntilStopped();
    createStopFile();
    wait();

    EXPECT_TRUE(clock.sleeps.empty());
    EXPECT_EQ(told(), (Lines{"Stop file detected; finishing recording", R"({"kind":"stop_seen"})"}));
}

TEST_F(RecordingWaitLoopTests, AStopFileIsSeenWithinAFifthOfASecond)
{
    recordUntilStopped();
    after(1000, [this] { createStopFile(); });
    wait();

    EXPECT_NEAR(waited(), 1000, 0.2);
    EXPECT_DOUBLE_EQ(clock.sleeps.front(), 0.2);
    EXPECT_EQ(told(), (Lines{"Stop file detected; finishing recording", R"({"kind":"stop_seen"})"}));
}

TEST_F(RecordingWaitLoopTests, AStopFileEndsATimedRecordingAsWell)
{
    options.stopFileURL = stopFile;
    after(1, [this] { createStopFile(); });
    wait();

    EXPECT_NEAR(waited(), 1, 0.2);
}

TEST_F(RecordingWaitLoopTests, ARequestFromOutsideIsTreatedLikeAStopFile)
{
    recordUntilStopped();
    after(1, [this] { stopRequests.request = "Interrupt received; finishing recording"; });
    wait();

    EXPECT_NEAR(waited(), 1, 0.2);
    EXPECT_EQ(told(), (Lines{"Interrupt received; finishing recording", R"({"kind":"stop_seen"})"}));
}

TEST_F(RecordingWaitLoopTests, TheMaximumDurationEndsALongerRecordingNormally)
{
    options.durationSeconds = 60;
    options.maxDurationSeconds = 2.6;
    wait();

    EXPECT_NEAR(waited(), 2.6, 0.2);
    EXPECT_EQ(told(),
        (Lines{"Maximum recording duration reached; finishing recording",
            R"({"kind":"max_duration_reached","limitSeconds":3})"}));
}

TEST_F(RecordingWaitLoopTests, TheMaximumDurationEndsARecordingUntilStopped)
{
    recordUntilStopped();
    options.maxDurationSeconds = 1;
    wait();

    EXPECT_NEAR(waited(), 1, 0.2);
    EXPECT_EQ(told().front(), "Maximum recording duration reached; finishing recording");
}

TEST_F(RecordingWaitLoopTests, AMaximumDurationLongerThanTheRecordingIsNotReached)
{
    options.durationSeconds = 1;
    options.maxDurationSeconds = 60;
    wait();

    EXPECT_EQ(told(), Lines());
}

TEST_F(RecordingWaitLoopTests, AVeryLongMaximumDurationNeverPasses)
{
    options.durationSeconds = 1;
    options.maxDurationSeconds = 1e300;
    wait();

    EXPECT_EQ(told(), Lines());
}

TEST_F(RecordingWaitLoopTests, AStreamErrorEndsTheRecordingWithThatError)
{
    after(1,
        [this] { streamFailure = std::make_exception_ptr(PlatformError("X11", 1, "the display is gone")); });

    EXPECT_EQ(waitError(), "the display is gone");
    EXPECT_NEAR(waited(), 1, 0.2);
}

TEST_F(RecordingWaitLoopTests, AWriterFailureEndsTheRecordingWithThatError)
{
    after(1, [this] {
        writerFailure = std::make_exception_ptr(PlatformError::posix("Could not write /take/x", ENOSPC));
    });

    EXPECT_EQ(waitError(), "Could not write /take/x: No space left on device");
    EXPECT_NEAR(waited(), 1, 0.2);
}

TEST_F(RecordingWaitLoopTests, AMicrophoneThatIsLostEndsTheRecordingNormally)
{
    recordUntilStopped();
    after(1, [this] { microphoneFailure = "Desk Microphone disconnected"; });
    wait();

    EXPECT_NEAR(waited(), 1, 0.2);
    EXPECT_EQ(told(),
        (Lines{"Microphone stopped (Desk Microphone disconnected); finishing recording",
            R"({"kind":"stop_seen"})"}));
}

TEST_F(RecordingWaitLoopTests, TheStopFileAndTheMaximumDurationComeBeforeALostMicrophone)
{
    options.maxDurationSeconds = 0;
    microphoneFailure = "Desk Microphone disconnected";
    wait();
    EXPECT_EQ(told().front(), "Maximum recording duration reached; finishing recording");

    recordUntilStopped();
    createStopFile();
    wait();
    EXPECT_EQ(told()[2], "Stop file detected; finishing recording");
    EXPECT_EQ(told().size(), 4U);
}

TEST_F(RecordingWaitLoopTests, ALostMicrophoneComesBeforeTheEndOfTheDuration)
{
    options.durationSeconds = 0;
    microphoneFailure = "capture session error";
    wait();

    EXPECT_EQ(told().front(), "Microphone stopped (capture session error); finishing recording");
}

TEST_F(RecordingWaitLoopTests, TheStreamsErrorComesBeforeTheWritersAndBeforeAnyStop)
{
    options.stopFileURL = stopFile;
    createStopFile();
    streamFailure = std::make_exception_ptr(CLIError("stream"));
    writerFailure = std::make_exception_ptr(CLIError("writer"));

    EXPECT_EQ(waitError(), "stream");
    EXPECT_EQ(told(), Lines());
}

TEST_F(RecordingWaitLoopTests, TheStopFileComesBeforeRequestsAndTheMaximumDuration)
{
    options.stopFileURL = stopFile;
    options.maxDurationSeconds = 0.1;
    after(0.1, [this] {
        createStopFile();
        stopRequests.request = "Interrupt received; finishing recording";
    });
    wait();

    EXPECT_EQ(told(), (Lines{"Stop file detected; finishing recording", R"({"kind":"stop_seen"})"}));
}

TEST_F(RecordingWaitLoopTests, TheMaximumDurationComesBeforeTheEndOfTheDuration)
{
    options.durationSeconds = 1;
    options.maxDurationSeconds = 1;
    wait();

    EXPECT_EQ(told().front(), "Maximum recording duration reached; finishing recording");
}

TEST_F(RecordingWaitLoopTests, TheStopFileIsWatched)
{
    recordUntilStopped();
    createStopFile();
    wait();
    EXPECT_EQ(stopRequests.watched, stopFile);
}

TEST_F(RecordingWaitLoopTests, TheSystemsClockSleepsUntilSomebodyMayAskForTheEnd)
{
    SystemRecordingClock systemClock(stopRequests);
    systemClock.sleepFor(std::chrono::hours(1));
    EXPECT_EQ(stopRequests.waits, 1);
}

} // namespace
} // namespace glimto
