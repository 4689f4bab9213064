#include "Audio/SystemAudioCapture.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeAudioInput.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class SystemAudioCaptureTests : public ::testing::Test {
protected:
    void makeCapture() { capture = std::make_unique<SystemAudioCapture>(inputs, 48000, 2); }

    void startCapture()
    {
        makeCapture();
        capture->begin({.onBuffer = [this](const AudioBuffer&) { ++buffers; },
            .onDisconnected = [] {},
            .onFailed = [](const std::string&) {},
            .onInterrupted = [](const std::string&) {}});
        capture->awaitStart();
    }

    std::string startError()
    {
        try {
            startCapture();
        } catch (const CLIError& error) {
            return error.what();
        }
        return {};
    }

    FakeAudioInputFactory inputs;
    FakeAudioInputState& input = *inputs.systemInput;
    int buffers = 0;
    std::unique_ptr<SystemAudioCapture> capture;
};

TEST_F(SystemAudioCaptureTests, AsksForTheRecordingsFormatWithTheSoundsOfThisProcess)
{
    makeCapture();

    EXPECT_FALSE(input.configuration->excludesCurrentProcessAudio);
    EXPECT_EQ(input.configuration->sampleRate, 48000);
    EXPECT_EQ(input.configuration->channelCount, 2);
    EXPECT_EQ(input.starts, 0);
}

TEST_F(SystemAudioCaptureTests, ASoundServerThatIsAbsentPassesUp)
{
    inputs.error = std::make_exception_ptr(PlatformError("PulseAudio", 6, "no sound server"));

    EXPECT_THROW(makeCapture(), PlatformError);
}

TEST_F(SystemAudioCaptureTests, DeliversUntilItIsStopped)
{
    startCapture();
    input.deliverTone({0, 48000});
    capture->stop();
    input.deliverTone({4800, 48000});

    EXPECT_EQ(buffers, 1);
}

TEST_F(SystemAudioCaptureTests, SoundThatDoesNotFlowFailsAndIsStopped)
{
    input.outcome = AudioInputStart::notRunning;
    EXPECT_EQ(startError(), "System audio did not start.");
    EXPECT_EQ(input.stops, 1);

    input.outcome = AudioInputStart::noClock;
    EXPECT_EQ(startError(), "The system audio clock is unavailable.");
    EXPECT_EQ(input.stops, 2);
}

TEST_F(SystemAudioCaptureTests, StopsOnceHoweverOftenItIsAskedTo)
{
    startCapture();
    capture->stop();
    capture->stop();
    capture.reset();

    EXPECT_EQ(input.stops, 1);
}

TEST_F(SystemAudioCaptureTests, WithoutAStartThereIsNothingToStop)
{
    makeCapture();
    capture.reset();

    EXPECT_EQ(input.stops, 0);
    EXPECT_FALSE(input.isAlive);
}

} // namespace
} // namespace glimto
