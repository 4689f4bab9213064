#include "Stills/ScreenshotTrigger.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using std::chrono::milliseconds;

// What poll(2) answers, and how much later.
struct PollAnswer {
    int result = 0;
    short events = 0;
    int error = 0;
    milliseconds after{0};
};

struct ReadAnswer {
    ssize_t result = 0;
    int error = 0;
};

// A parent process and a standard input as the test writes them down. When no answer is left, poll waits
// for as long as it is asked to and tells of nothing.
class ScreenshotTriggerTests : public testing::Test {
protected:
    std::string errorOfWait()
    {
        try {
            waitForScreenshotTrigger(standardError, system());
        } catch (const CLIError& error) {
            return error.what();
        }
        return "triggered";
    }

    ScreenshotTriggerSystem system()
    {
        return {.parentProcessID = [this] { return parentAt(++parentQuestions); },
            .now = [this] { return time; },
            .poll = [this](pollfd& input, milliseconds timeout) { return poll(input, timeout); },
            .readByte = [this](int descriptor, char& byte) { return read(descriptor, byte); }};
    }

    pid_t parentAt(int question) const { return question > parentLeavesAfter ? newParent : 4000; }

    int poll(pollfd& input, milliseconds timeout)
    {
        EXPECT_EQ(input.fd, 0);
        timeouts.push_back(timeout);
        if (nextPoll >= polls.size()) {
            time += timeout;
            return 0;
        }
        const PollAnswer& answer = polls[nextPoll++];
        time += answer.after;
        input.revents = answer.events;
        errno = answer.error;
        return answer.result;
    }

    ssize_t read(int descriptor, char& byte)
    {
        EXPECT_EQ(descriptor, 0);
        const ReadAnswer answer = reads.at(nextRead++);
        byte = '\n';
        errno = answer.error;
        return answer.result;
    }

    FakeLineOutput standardError;
    std::chrono::steady_clock::time_point time;
    int parentQuestions = 0;
    int parentLeavesAfter = 1'000'000; // questions
    pid_t newParent = 1;
    std::vector<PollAnswer> polls;
    std::size_t nextPoll = 0;
    std::vector<ReadAnswer> reads;
    std::size_t nextRead = 0;
    std::vector<milliseconds> timeouts; // that poll was asked for
};

TEST_F(ScreenshotTriggerTests, OneByteOfAnyValueIsTheTrigger)
{
    polls = {{.result = 1, .events = POLLIN}};
    reads = {{.result = 1}};
    EXPECT_EQ(errorOfWait(), "triggered");
    EXPECT_EQ(standardError.text(), "GLIMTO_SCREENSHOT_READY_FOR_TRIGGER\n");
    EXPECT_EQ(nextRead, 1U);
}

TEST_F(ScreenshotTriggerTests, AByteThatCameBeforeTheHangUpIsTheTrigger)
{
    polls = {{.result = 1, .events = POLLIN | POLLHUP}};
    reads = {{.result = 1}};
    EXPECT_EQ(errorOfWait(), "triggered");
}

TEST_F(ScreenshotTriggerTests, TheReadyLineComesBeforeTheWait)
{
    polls = {{.result = 1, .events = POLLIN}};
    reads = {{.result = 1}};
    auto checking = system();
    checking.poll = [this](pollfd& input, milliseconds timeout) {
        EXPECT_EQ(standardError.lines().size(), 1U);
        return poll(input, timeout);
    };
    EXPECT_NO_THROW(waitForScreenshotTrigger(standardError, checking));
}

TEST_F(ScreenshotTriggerTests, EndOfInputIsNoTrigger)
{
    polls = {{.result = 1, .events = POLLHUP}};
    reads = {{.result = 0}};
    EXPECT_EQ(errorOfWait(), "Screenshot trigger input closed before capture.");
}

TEST_F(ScreenshotTriggerTests, WaitsEightSecondsInSlicesOfAQuarterSecondAtMost)
{
    EXPECT_EQ(errorOfWait(), "Timed out waiting for the screenshot capture trigger.");
    EXPECT_EQ(time.time_since_epoch(), milliseconds(8000));
    EXPECT_EQ(timeouts, std::vector<milliseconds>(32, milliseconds(250)));
}

TEST_F(ScreenshotTriggerTests, TheLastSliceEndsWithTheEightSeconds)
{
    polls = {{.result = 0, .after = milliseconds(7900)}};
    EXPECT_EQ(errorOfWait(), "Timed out waiting for the screenshot capture trigger.");
    EXPECT_EQ(timeouts, std::vector({milliseconds(250), milliseconds(100)}));
}

TEST_F(ScreenshotTriggerTests, LessThanAMillisecondIsNotWaitedFor)
{
    auto almost = system();
    almost.poll = [this](pollfd&, milliseconds) {
        time += std::chrono::microseconds(7'999'001);
        return 0;
    };
    EXPECT_THROW(waitForScreenshotTrigger(standardError, almost), CLIError);
    EXPECT_EQ(time.time_since_epoch(), std::chrono::microseconds(7'999'001));
}

TEST_F(ScreenshotTriggerTests, AnotherParentEndsTheWait)
{
    parentLeavesAfter = 3;
    newParent = 77;
    EXPECT_EQ(errorOfWait(), "Screenshot trigger parent exited before capture.");
    EXPECT_EQ(timeouts.size(), 2U);
}

TEST_F(ScreenshotTriggerTests, AParentThatWasTheSystemsFirstProcessFromTheStartIsAsGoodAsAny)
{
    parentLeavesAfter = 0;
    polls = {{.result = 1, .events = POLLIN}};
    reads = {{.result = 1}};
    EXPECT_EQ(errorOfWait(), "triggered");
}

TEST_F(ScreenshotTriggerTests, AnInterruptedWaitGoesOn)
{
    polls = {{.result = -1, .error = EINTR}, {.result = 1, .events = POLLIN}};
    reads = {{.result = 1}};
    EXPECT_EQ(errorOfWait(), "triggered");
}

TEST_F(ScreenshotTriggerTests, AnInterruptedReadGoesOn)
{
    polls = {{.result = 1, .events = POLLIN}, {.result = 1, .events = POLLIN}};
    reads = {{.result = -1, .error = EINTR}, {.result = 1}};
    EXPECT_EQ(errorOfWait(), "triggered");
    EXPECT_EQ(nextRead, 2U);
}

TEST_F(ScreenshotTriggerTests, AFailedWaitTellsTheReason)
{
    polls = {{.result = -1, .error = EINVAL}};
    EXPECT_EQ(errorOfWait(), "Could not wait for screenshot trigger input: Invalid argument.");
}

TEST_F(ScreenshotTriggerTests, AFailedReadTellsTheReason)
{
    polls = {{.result = 1, .events = POLLIN}};
    reads = {{.result = -1, .error = EIO}};
    EXPECT_EQ(errorOfWait(), "Could not read screenshot trigger input: Input/output error.");
}

TEST_F(ScreenshotTriggerTests, AnInputInErrorOrNotOpenIsUnavailable)
{
    for (const int events : {POLLERR, POLLNVAL}) {
        polls = {{.result = 1, .events = static_cast<short>(events)}};
        nextPoll = 0;
        EXPECT_EQ(errorOfWait(), "Screenshot trigger input became unavailable before capture.");
    }
    EXPECT_EQ(nextRead, 0U);
}

} // namespace
} // namespace glimto
