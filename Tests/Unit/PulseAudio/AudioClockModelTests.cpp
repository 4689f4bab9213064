#include "Backends/PulseAudio/AudioClockModel.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <gtest/gtest.h>

#include "SimulatedDevice.h"

namespace glimto {
namespace {

constexpr int blocksPerSecond = SimulatedDevice::sampleRate / SimulatedDevice::blockFrames;
constexpr double milliseconds = 1e6;

// Reads a device as a stream does: block by block, with reports where they are wanted.
class AudioClockModelTests : public testing::Test {
protected:
    // The report that follows an arrival; tests put wrong ones in its place.
    using Report = std::function<HostTime(std::int64_t frame)>;

    void run(double seconds, const Report& report)
    {
        const int blocks = static_cast<int>(seconds * blocksPerSecond);
        for (int block = 0; block < blocks; ++block, ++blockCount)
            takeBlock(report);
    }
    void run(double seconds)
    {
        run(seconds, [this](std::int64_t at) { return device.reportOf(at); });
    }

    void takeBlock(const Report& report)
    {
        frame += SimulatedDevice::blockFrames;
        model.didArrive(frame, device.arrivalOf(frame));
        const bool isDue = blockCount % (blocksPerSecond / 4) == 0;
        if (!model.isLocked() || model.isInDoubt() || isDue)
            model.observe(frame, report(frame));
        if (!model.isLocked())
            return;
        const double place = static_cast<double>(frame);
        if (isPlaced && model.run() == lastRun)
            noteStep(timeOf(place) - lastTime, place - lastPlace);
        lastRun = model.run();
        worstError = std::max(worstError, std::abs(timeOf(place) - device.heardAt(place)));
        lastTime = timeOf(place);
        lastPlace = place;
        isPlaced = true;
        model.didRead(place);
    }

    // How much faster or slower than claimed time went in this block.
    void noteStep(double time, double frames)
    {
        const double claimed = frames * 1e9 / SimulatedDevice::sampleRate;
        worstStretch = std::max(worstStretch, std::abs(time / claimed - 1));
    }

    double error() const
    {
        const auto place = static_cast<double>(frame);
        return std::abs(timeOf(place) - device.heardAt(place));
    }

    double timeOf(double place) const
    {
        return static_cast<double>(model.hostTime(place).time_since_epoch().count());
    }

    SimulatedDevice device;
    AudioClockModel model{SimulatedDevice::sampleRate};
    std::int64_t frame = 0;
    int blockCount = 0;
    double worstError = 0;
    double worstStretch = 0;
    double lastTime = 0;
    double lastPlace = 0;
    int lastRun = 0;
    bool isPlaced = false;
};

TEST_F(AudioClockModelTests, HasNoAnswerBeforeReportsAgree)
{
    EXPECT_FALSE(model.isLocked());
    run(2.0 / blocksPerSecond);
    EXPECT_FALSE(model.isLocked());
    run(1.0 / blocksPerSecond);
    EXPECT_TRUE(model.isLocked());
    EXPECT_LT(error(), 0.001 * milliseconds);
}

TEST_F(AudioClockModelTests, JitterOfReportsDoesNotReachTheLine)
{
    device.setJitter(2ms);
    run(20);
    worstError = worstStretch = 0;
    run(300);
    EXPECT_LT(worstError, 1.5 * milliseconds);
    EXPECT_LT(worstStretch, 0.0005);
    EXPECT_EQ(model.run(), 1);
}

TEST_F(AudioClockModelTests, ReportsThatNeverAgreeLockByTheirMedian)
{
    device.setJitter(15ms);
    run(1);
    EXPECT_TRUE(model.isLocked());
    EXPECT_LT(error(), 15 * milliseconds);
}

TEST_F(AudioClockModelTests, DriftOf200PpmIsFollowedForHalfAnHour)
{
    device = SimulatedDevice(0.0002);
    device.setJitter(1ms);
    run(1800);
    EXPECT_LT(worstError, 5 * milliseconds);
    EXPECT_LT(error(), 1 * milliseconds);
    EXPECT_LT(worstStretch, 0.0025);
    EXPECT_NEAR(model.rateError(), 0.0002, 0.0001);
    EXPECT_EQ(model.run(), 1);
}

TEST_F(AudioClockModelTests, DriftToTheOtherSideIsFollowedAsWell)
{
    device = SimulatedDevice(-0.0002);
    device.setJitter(1ms);
    run(1800);
    EXPECT_LT(worstError, 5 * milliseconds);
    EXPECT_EQ(model.run(), 1);
}

TEST_F(AudioClockModelTests, SingleWrongReportsAreIgnored)
{
    device.setJitter(500us);
    run(10);
    worstError = 0;
    run(60, [this](std::int64_t at) {
        const bool isWrong = at / SimulatedDevice::blockFrames % 70 == 0;
        return device.reportOf(at) + (isWrong ? 300ms : 0ms);
    });
    EXPECT_LT(worstError, 2 * milliseconds);
    EXPECT_EQ(model.run(), 1);
}

TEST_F(AudioClockModelTests, AStallOfThreeSecondsJumpsOnceToTheTruth)
{
    run(30);
    device.lose(3s);
    model.reacquire();
    run(1);
    EXPECT_EQ(model.run(), 2);
    EXPECT_LT(error(), 1 * milliseconds);
    run(30);
    EXPECT_EQ(model.run(), 2);
}

TEST_F(AudioClockModelTests, APauseInWhichNothingWasLostIsNoJump)
{
    device.setJitter(1ms);
    run(30);
    worstStretch = 0;
    model.reacquire();
    run(30);
    EXPECT_EQ(model.run(), 1);
    EXPECT_LT(worstStretch, 0.0025);
}

TEST_F(AudioClockModelTests, WrongReportsAfterAPauseAreNotBelieved)
{
    run(30);
    device.lose(3s);
    device.setReportError(-800ms);
    model.reacquire();
    run(0.2);
    EXPECT_TRUE(model.isLocked());
    EXPECT_LT(error(), 5 * milliseconds);
    device.setReportError(0s);
    run(10);
    EXPECT_EQ(model.run(), 2);
    EXPECT_LT(error(), 1 * milliseconds);
}

TEST_F(AudioClockModelTests, ASmallStepOfTheReportsIsTakenUpSlowly)
{
    run(30);
    device.setReportError(15ms);
    worstStretch = 0;
    run(60);
    EXPECT_EQ(model.run(), 1);
    EXPECT_LT(worstStretch, 0.0035);
    EXPECT_NEAR(error(), 15 * milliseconds, 1 * milliseconds);
}

TEST_F(AudioClockModelTests, ALargeStepOfTheReportsThatStaysIsAJump)
{
    run(30);
    device.setReportError(120ms);
    run(2);
    EXPECT_EQ(model.run(), 2);
    EXPECT_NEAR(error(), 120 * milliseconds, 1 * milliseconds);
    run(60);
    EXPECT_EQ(model.run(), 2);
}

TEST_F(AudioClockModelTests, FramesAndTimesConvertBothWays)
{
    device = SimulatedDevice(0.0001);
    run(30);
    EXPECT_NEAR(model.frameAt(model.hostTime(1'450'000.25)), 1'450'000.25, 1e-3);
}

} // namespace
} // namespace glimto
