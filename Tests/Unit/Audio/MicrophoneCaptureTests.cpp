#include "Audio/MicrophoneCapture.h"

#include <array>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeAudioConverter.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeLineOutput.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class MicrophoneCaptureTests : public ::testing::Test {
protected:
    MicrophoneCapture& makeCapture()
    {
        capture = std::make_unique<MicrophoneCapture>(device, inputs);
        return *capture;
    }

    MicrophoneCapture& startCapture()
    {
        makeCapture().start(mixer);
        return *capture;
    }

    // The message of the error that `function` throws; empty when it throws nothing.
    template <typename Function> static std::string errorOf(Function&& function)
    {
        try {
            function();
        } catch (const std::exception& error) {
            return error.what();
        }
        return {};
    }

    // Where the mixed buffers start, in frames of the host clock.
    std::vector<std::int64_t> mixedStarts()
    {
        mixer->finish();
        return starts;
    }

    static constexpr std::array sources = {AudioMixerSource::microphone};

    AudioInputDevice device = {"mic", "Desk Microphone"};
    FakeAudioInputFactory inputs;
    FakeAudioInputState& input = *inputs.microphoneInput;
    FakeAudioConverterFactory converters;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    std::vector<std::int64_t> starts;
    std::shared_ptr<AudioMixer> mixer = std::make_shared<AudioMixer>(
        sources, 48000,
        [this](const AudioBuffer& buffer) { starts.push_back(buffer.presentationTime.value); }, converters,
        standardOutput);
    std::unique_ptr<MicrophoneCapture> capture;
};

constexpr const char* deniedMessage
    = "Microphone access is denied. Allow Glimto in System Settings > Privacy & Security > Microphone.";

TEST_F(MicrophoneCaptureTests, GrantedAccessIsNotAskedForAgain)
{
    MicrophoneCapture::requireAccess(inputs);

    EXPECT_EQ(inputs.requests, 0);
}

TEST_F(MicrophoneCaptureTests, UndeterminedAccessIsAskedForAndMayBeGranted)
{
    inputs.access = AudioInputAccess::notDetermined;
    inputs.isGrantedOnRequest = true;

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireAccess(inputs); }), "");
    EXPECT_EQ(inputs.requests, 1);
}

TEST_F(MicrophoneCaptureTests, AccessThatIsRefusedWhenAskedForFails)
{
    inputs.access = AudioInputAccess::notDetermined;

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireAccess(inputs); }), deniedMessage);
}

TEST_F(MicrophoneCaptureTests, DeniedAccessFailsWithoutAsking)
{
    inputs.access = AudioInputAccess::denied;
    inputs.isGrantedOnRequest = true;

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireAccess(inputs); }), deniedMessage);
    EXPECT_EQ(inputs.requests, 0);
}

TEST_F(MicrophoneCaptureTests, ADeviceIsFoundByItsId)
{
    EXPECT_EQ(MicrophoneCapture::requireDevice("mic", inputs, standardError).name, "Desk Microphone");
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(MicrophoneCaptureTests, AnUnknownIdFailsAndTellsTheIdsThatExist)
{
    inputs.devices = {{"alsa.usb", "USB Microphone"}, {"alsa.pci", "Built-in\nMicrophone"}};

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireDevice("mic", inputs, standardError); }),
        "Microphone mic was not found. Choose another microphone and try again.");
    EXPECT_EQ(standardError.lines(),
        (Lines{"Available microphone: alsa.usb (USB Microphone)",
            "Available microphone: alsa.pci (Built-in Microphone)"}));
}

TEST_F(MicrophoneCaptureTests, WithoutAnyMicrophoneThatIsSaid)
{
    inputs.devices = {};

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireDevice("mic", inputs, standardError); }),
        "Microphone mic was not found. Choose another microphone and try again.");
    EXPECT_EQ(standardError.lines(),
        Lines{"No microphone was found. Other sources of sound can be recorded by their id as well."});
}

TEST_F(MicrophoneCaptureTests, AListThatCannotBeHadDoesNotHideTheMessage)
{
    inputs.devices = {};
    inputs.listError = std::make_exception_ptr(PlatformError("PulseAudio", 6, "no answer"));

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireDevice("mic", inputs, standardError); }),
        "Microphone mic was not found. Choose another microphone and try again.");
}

TEST_F(MicrophoneCaptureTests, ASoundServerThatDoesNotAnswerPassesUp)
{
    inputs.error = std::make_exception_ptr(PlatformError("PulseAudio", 6, "no answer"));

    EXPECT_EQ(errorOf([&] { MicrophoneCapture::requireDevice("mic", inputs, standardError); }), "no answer");
}

TEST_F(MicrophoneCaptureTests, ADeviceThatRefusesPassesItsErrorUp)
{
    input.makeError = std::make_exception_ptr(PlatformError("PulseAudio", 3, "the device is busy"));

    EXPECT_EQ(errorOf([&] { makeCapture(); }), "the device is busy");
}

TEST_F(MicrophoneCaptureTests, ADeviceThatGivesNoInputCannotBeAdded)
{
    input.isMissing = true;

    EXPECT_EQ(errorOf([&] { makeCapture(); }),
        "The microphone Desk Microphone could not be added to the capture session.");
}

TEST_F(MicrophoneCaptureTests, RecordsTheDeviceItWasGiven)
{
    startCapture();

    EXPECT_EQ(input.device->id, "mic");
    EXPECT_EQ(input.starts, 1);
}

TEST_F(MicrophoneCaptureTests, AMicrophoneThatDoesNotStartFailsAndIsStopped)
{
    input.outcome = AudioInputStart::notRunning;

    EXPECT_EQ(errorOf([&] { startCapture(); }), "The microphone did not start.");
    EXPECT_EQ(input.stops, 1);
    capture.reset();
    EXPECT_EQ(input.stops, 1);
}

TEST_F(MicrophoneCaptureTests, AMicrophoneWithoutAClockFailsAndIsStopped)
{
    input.outcome = AudioInputStart::noClock;

    EXPECT_EQ(errorOf([&] { startCapture(); }), "The microphone capture clock is unavailable.");
    EXPECT_EQ(input.stops, 1);
}

TEST_F(MicrophoneCaptureTests, SoundGoesToTheMixerAtItsTimeOnTheHostClock)
{
    startCapture();
    input.deliverTone({96'000, 48000});

    EXPECT_EQ(mixedStarts().front(), 96'000);
}

TEST_F(MicrophoneCaptureTests, SoundFromBeforeTheStartWasThroughIsDropped)
{
    input.onStart = [this] { input.deliverTone({0, 48000}); };
    startCapture();
    input.deliverTone({4800, 48000});

    EXPECT_EQ(mixedStarts().front(), 4800);
}

TEST_F(MicrophoneCaptureTests, SoundWithoutATimeIsDropped)
{
    startCapture();
    input.deliverTone(MediaTime());

    EXPECT_TRUE(mixedStarts().empty());
}

TEST_F(MicrophoneCaptureTests, HasNoFailureAtFirst)
{
    EXPECT_EQ(startCapture().failure(), std::nullopt);
}

TEST_F(MicrophoneCaptureTests, ADisconnectedDeviceIsNamed)
{
    startCapture();
    input.disconnect();

    EXPECT_EQ(capture->failure(), "Desk Microphone disconnected");
}

TEST_F(MicrophoneCaptureTests, AFailureSaysWhy)
{
    startCapture();
    input.fail("the server has no memory");

    EXPECT_EQ(capture->failure(), "the server has no memory");
}

TEST_F(MicrophoneCaptureTests, AFailureWithoutAReasonStillHasAText)
{
    startCapture();
    input.fail("");

    EXPECT_EQ(capture->failure(), "capture session error");
}

TEST_F(MicrophoneCaptureTests, TheFirstFailureWins)
{
    startCapture();
    input.fail("the server has no memory");
    input.disconnect();

    EXPECT_EQ(capture->failure(), "the server has no memory");
}

TEST_F(MicrophoneCaptureTests, AFailureWhileStartingIsKept)
{
    input.onStart = [this] { input.disconnect(); };
    startCapture();

    EXPECT_EQ(capture->failure(), "Desk Microphone disconnected");
}

TEST_F(MicrophoneCaptureTests, AFailureDoesNotStopTheCapture)
{
    startCapture();
    input.fail("a hiccup");

    EXPECT_EQ(input.stops, 0);
}

TEST_F(MicrophoneCaptureTests, FailuresDuringAndAfterTheStopAreIgnored)
{
    startCapture();
    input.onStop = [this] { input.disconnect(); };
    capture->stop();

    EXPECT_EQ(capture->failure(), std::nullopt);
}

TEST_F(MicrophoneCaptureTests, StoppingTwiceDoesNothingTheSecondTime)
{
    startCapture();
    capture->stop();
    capture->stop();
    capture.reset();

    EXPECT_EQ(input.stops, 1);
}

TEST_F(MicrophoneCaptureTests, ACaptureThatNeverStartedMayBeStopped)
{
    makeCapture().stop();

    EXPECT_EQ(input.stops, 0);
}

TEST_F(MicrophoneCaptureTests, ACaptureThatGoesAwayStops)
{
    startCapture();
    capture.reset();

    EXPECT_EQ(input.stops, 1);
    EXPECT_FALSE(input.isAlive);
}

TEST_F(MicrophoneCaptureTests, NoSoundComesOnceItIsStopped)
{
    startCapture();
    capture->stop();
    input.deliverTone({0, 48000});

    EXPECT_TRUE(mixedStarts().empty());
}

TEST_F(MicrophoneCaptureTests, OneThatHasBegunAheadIsOnlyWaitedFor)
{
    makeCapture().begin();
    EXPECT_EQ(input.begins, 1);
    EXPECT_EQ(input.starts, 0);
    capture->start(mixer);
    EXPECT_EQ(input.begins, 1);
    EXPECT_EQ(input.starts, 1);
}

TEST_F(MicrophoneCaptureTests, SoundBetweenTheBeginningAndTheStartIsDropped)
{
    makeCapture().begin();
    input.deliverTone({0, 48000});
    capture->start(mixer);
    input.deliverTone({4800, 48000});

    EXPECT_EQ(mixedStarts().front(), 4800);
}

TEST_F(MicrophoneCaptureTests, OneThatHasBegunStopsWithoutAStart)
{
    makeCapture().begin();
    capture->stop();
    EXPECT_EQ(input.stops, 1);
    capture.reset();
    EXPECT_EQ(input.stops, 1);
}

TEST_F(MicrophoneCaptureTests, AFailureBeforeTheStartIsKept)
{
    makeCapture().begin();
    input.disconnect();
    capture->start(mixer);
    EXPECT_EQ(capture->failure(), "Desk Microphone disconnected");
}

TEST_F(MicrophoneCaptureTests, OneThatHasBegunAndDoesNotStartIsStoppedOnce)
{
    input.outcome = AudioInputStart::notRunning;
    makeCapture().begin();
    EXPECT_EQ(errorOf([&] { capture->start(mixer); }), "The microphone did not start.");
    capture.reset();
    EXPECT_EQ(input.stops, 1);
}

TEST_F(MicrophoneCaptureTests, OneThatCannotBeginIsNotStopped)
{
    input.beginError = std::make_exception_ptr(PlatformError("POSIX", 11, "no thread"));
    EXPECT_EQ(errorOf([&] { makeCapture().begin(); }), "no thread");
    capture.reset();
    EXPECT_EQ(input.stops, 0);
}

TEST_F(MicrophoneCaptureTests, StoppingWaitsForSoundThatIsBeingDelivered)
{
    std::promise<void> delivering;
    std::promise<void> goOn;
    mixer = std::make_shared<AudioMixer>(
        sources, 48000,
        [&](const AudioBuffer& buffer) {
            if (starts.empty()) {
                delivering.set_value();
                goOn.get_future().wait();
            }
            starts.push_back(buffer.presentationTime.value);
        },
        converters, standardOutput);
    startCapture();
    std::thread source([&] { input.deliverTone({0, 48000}); });
    delivering.get_future().wait();
    std::thread release([&] { goOn.set_value(); });
    capture->stop();

    EXPECT_EQ(starts.size(), 5U); // the whole buffer, in pieces
    source.join();
    release.join();
}

} // namespace
} // namespace glimto
