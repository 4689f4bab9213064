#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Recording/ScreenSegmentRecorder.h"
#include "ScreenSegmentRecorderFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

// A recording of one second with sound from the system and the microphone "mic". In every round of the wait
// loop there is a frame, and a tenth of a second of sound of each source.
class RecordingSoundTests : public ScreenSegmentRecorderFixture {
protected:
    RecordingSoundTests()
    {
        options.captureSystemAudio = true;
        options.microphoneDeviceID = "mic";
        clock.onSleep = [this] {
            stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480));
            const MediaTime time = MediaTime::fromNanoseconds(frameTime * 200'000'000);
            systemAudio.deliverTone(time);
            microphone.deliverTone(time, 0.5F);
        };
    }

    void expectSoundEnded()
    {
        EXPECT_FALSE(systemAudio.isAlive);
        EXPECT_FALSE(microphone.isAlive);
        EXPECT_EQ(audioEncoder.cancels, 1);
    }

    void makeEarlierTake()
    {
        std::filesystem::create_directories(take);
        std::ofstream(take / "manifest.json") << "an earlier take";
        options.overwrite = true;
    }

    void expectEarlierTakeUntouched()
    {
        EXPECT_EQ(takeFiles(), Lines{"take/manifest.json"});
        EXPECT_EQ(directory.text("take/manifest.json"), "an earlier take");
    }
};

const std::exception_ptr noServer
    = std::make_exception_ptr(PlatformError("PulseAudio", 6, "There is no sound server."));

TEST_F(RecordingSoundTests, TheTakeTellsOfItsSound)
{
    record();

    EXPECT_TRUE(wasTold("Audio: AAC system + microphone, 48000 Hz, 2 channels"));
    EXPECT_TRUE(wasTold("Captured 1 video segment(s), 1 audio segment(s)"));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(RecordingSoundTests, ATakeHasAllItsFiles)
{
    const auto metadata = record();

    EXPECT_EQ(takeFiles(),
        (Lines{"take/manifest.json", "take/segments/audio/init.mp4", "take/segments/audio/playlist.m3u8",
            "take/segments/audio/segment_000.m4s", "take/segments/playlist.m3u8",
            "take/segments/video/init.mp4", "take/segments/video/playlist.m3u8",
            "take/segments/video/segment_000.m4s", "take/thumbnail.jpg"}));
    EXPECT_EQ(metadata.audioSegmentCount, 1);
    EXPECT_TRUE(metadata.includesAudioSegments);
    EXPECT_TRUE(metadata.includesSystemAudio);
    EXPECT_TRUE(metadata.requestedSystemAudio);
}

TEST_F(RecordingSoundTests, TheMasterPlaylistNamesBothTracks)
{
    record();

    EXPECT_EQ(directory.text("take/segments/playlist.m3u8"),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-MEDIA:TYPE=AUDIO,GROUP-ID=\"system-audio\",NAME=\"Audio\",DEFAULT=YES,AUTOSELECT=YES,"
        "URI=\"audio/playlist.m3u8\"\n"
        "#EXT-X-STREAM-INF:BANDWIDTH=16000000,RESOLUTION=640x480,FRAME-RATE=30,"
        "CODECS=\"avc1.640028,mp4a.40.2\",AUDIO=\"system-audio\"\n"
        "video/playlist.m3u8\n");
    EXPECT_EQ(directory.text("take/segments/audio/playlist.m3u8"),
        "#EXTM3U\n"
        "#EXT-X-VERSION:7\n"
        "#EXT-X-TARGETDURATION:1\n"
        "#EXT-X-MEDIA-SEQUENCE:0\n"
        "#EXT-X-INDEPENDENT-SEGMENTS\n"
        "#EXT-X-MAP:URI=\"init.mp4\"\n"
        "#EXTINF:1.000000,\n"
        "segment_000.m4s\n"
        "#EXT-X-ENDLIST\n");
    EXPECT_EQ(directory.text("take/segments/video/playlist.m3u8"),
        directory.text("take/segments/audio/playlist.m3u8"));
}

TEST_F(RecordingSoundTests, TheManifestTellsOfBothTracks)
{
    record();

    const auto manifest = nlohmann::json::parse(directory.text("take/manifest.json"));
    EXPECT_EQ(manifest["video"]["hasAudio"], true);
    EXPECT_EQ(manifest["audio"],
        nlohmann::json::parse(R"({"source":"system+microphone","codec":"aac","sampleRate":48000,)"
                              R"("channelCount":2,"initSegmentKey":"segments/audio/init.mp4",)"
                              R"("playlistKey":"segments/audio/playlist.m3u8","segmentCount":1})"));
    EXPECT_EQ(manifest["audioSegments"].size(), 1U);
    EXPECT_EQ(manifest["notes"][1],
        "System audio from ScreenCaptureKit and the microphone were mixed into one AAC track.");
}

TEST_F(RecordingSoundTests, BothSourcesAreMixedAndTimedFromTheFirstFrameOn)
{
    record();

    ASSERT_FALSE(audioEncoder.pieces.empty());
    EXPECT_EQ(audioEncoder.pieces.front().time, MediaTime::fromNanoseconds(0));
    EXPECT_EQ(audioEncoder.pieces.front().firstSample, 0.75F);
    EXPECT_EQ(audioEncoder.pieces.front().format,
        (AudioFormat{48000, 2, AudioSampleType::float32, AudioLayout::interleaved}));
}

TEST_F(RecordingSoundTests, WhatTheMixerStillHoldsIsWrittenBeforeTheEnd)
{
    options.microphoneDeviceID.reset();
    std::size_t samplesAtTheEnd = 0;
    audioEncoder.onFinish = [&] {
        for (const auto& piece : audioEncoder.pieces)
            samplesAtTheEnd += piece.frameCount;
    };
    record();

    // Five pieces of sound with gaps between them.
    EXPECT_EQ(samplesAtTheEnd, 48000U - 4800U);
}

TEST_F(RecordingSoundTests, SystemAudioAlonePassesThrough)
{
    options.microphoneDeviceID.reset();
    const auto metadata = record();

    EXPECT_EQ(audioEncoder.pieces.front().firstSample, 0.25F);
    EXPECT_TRUE(metadata.includesSystemAudio);
    EXPECT_EQ(microphone.device, std::nullopt);
    EXPECT_EQ(nlohmann::json::parse(directory.text("take/manifest.json"))["audio"]["source"], "system");
}

TEST_F(RecordingSoundTests, TheMicrophoneAloneAsksForNoSystemAudio)
{
    options.captureSystemAudio = false;
    const auto metadata = record();

    EXPECT_EQ(audioEncoder.pieces.front().firstSample, 0.5F);
    EXPECT_FALSE(metadata.includesSystemAudio);
    EXPECT_TRUE(metadata.includesAudioSegments);
    EXPECT_EQ(systemAudio.configuration, std::nullopt);
    EXPECT_EQ(nlohmann::json::parse(directory.text("take/manifest.json"))["audio"]["source"], "microphone");
}

TEST_F(RecordingSoundTests, WithoutAudioNoSoundServerIsAskedForAnything)
{
    options.captureSystemAudio = false;
    options.microphoneDeviceID.reset();
    audioInputs.error = noServer;

    EXPECT_EQ(record().audioSegmentCount, 0);
    EXPECT_EQ(audioEncoder.audioSettings, std::nullopt);
}

TEST_F(RecordingSoundTests, TheMicrophoneStartsBeforeTheStreamAndItsSound)
{
    Lines starts;
    microphone.onStart = [&] { starts.push_back("microphone"); };
    systemAudio.onStart = [&] { starts.push_back("system audio"); };
    stream.onStart = [&] { starts.push_back("stream"); };
    record();

    EXPECT_EQ(starts, (Lines{"microphone", "system audio", "stream"}));
}

TEST_F(RecordingSoundTests, TheStreamStopsBeforeItsSoundAndTheMicrophone)
{
    Lines stops;
    microphone.onStop = [&] { stops.push_back("microphone"); };
    systemAudio.onStop = [&] { stops.push_back("system audio"); };
    stream.onStop = [&] { stops.push_back("stream"); };
    record();

    EXPECT_EQ(stops, (Lines{"stream", "system audio", "microphone"}));
}

TEST_F(RecordingSoundTests, EverySourceStopsOnceAndBeforeThatIsTold)
{
    record();

    EXPECT_EQ(systemAudio.stops, 1);
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_TRUE(wasTold("GLIMTO_RECORDING_STATUS=stopped"));
}

TEST_F(RecordingSoundTests, ALostMicrophoneEndsTheRecordingNormally)
{
    options.durationSeconds = 600;
    const auto aRound = clock.onSleep;
    clock.onSleep = [this, aRound] {
        aRound();
        microphone.disconnect();
    };

    EXPECT_EQ(record().audioSegmentCount, 1);
    EXPECT_EQ(clock.sleeps.size(), 1U);
    EXPECT_TRUE(wasTold("Microphone stopped (Desk Microphone disconnected); finishing recording"));
    EXPECT_TRUE(wasTold(R"({"kind":"stop_seen"})"));
    EXPECT_TRUE(wasTold(R"({"kind":"completed","state":"completed"})"));
}

TEST_F(RecordingSoundTests, SystemAudioThatIsInterruptedIsAWarningAndTheRecordingGoesOn)
{
    const auto aRound = clock.onSleep;
    clock.onSleep = [this, aRound] {
        aRound();
        systemAudio.interrupt("The sound server went away");
    };

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_EQ(standardError.lines(), Lines{"warning: The sound server went away"});
    EXPECT_EQ(clock.sleeps.size(), 5U);
}

TEST_F(RecordingSoundTests, ARecordingWithoutAnySoundFails)
{
    clock.onSleep = [this] { stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480)); };

    EXPECT_EQ(recordError(),
        "Capture ended without appended audio samples. Check the microphone, and for system audio make sure "
        "Screen & System Audio Recording permission is granted.");
    EXPECT_FALSE(std::filesystem::exists(take / "manifest.json"));
}

TEST_F(RecordingSoundTests, WithoutASoundServerNothingIsTouched)
{
    audioInputs.error = noServer;
    EXPECT_EQ(recordError(), "There is no sound server.");
    EXPECT_FALSE(std::filesystem::exists(take));
    EXPECT_EQ(stream.configuration, std::nullopt);
}

TEST_F(RecordingSoundTests, WithoutASoundServerAnEarlierTakeStays)
{
    makeEarlierTake();
    audioInputs.error = noServer;
    EXPECT_EQ(recordError(), "There is no sound server.");
    options.microphoneDeviceID.reset();
    EXPECT_EQ(recordError(), "There is no sound server.");

    expectEarlierTakeUntouched();
}

TEST_F(RecordingSoundTests, AnUnknownMicrophoneLeavesAnEarlierTakeAndTellsWhichThereAre)
{
    makeEarlierTake();
    options.microphoneDeviceID = "webcam";

    EXPECT_EQ(recordError(), "Microphone webcam was not found. Choose another microphone and try again.");
    EXPECT_EQ(standardError.lines(), Lines{"Available microphone: mic (Desk Microphone)"});
    expectEarlierTakeUntouched();
}

TEST_F(RecordingSoundTests, DeniedAccessToTheMicrophoneFailsBeforeItIsLookedFor)
{
    makeEarlierTake();
    audioInputs.access = AudioInputAccess::denied;
    options.microphoneDeviceID = "webcam";

    EXPECT_EQ(recordError(),
        "Microphone access is denied. Allow Glimto in System Settings > Privacy & Security > Microphone.");
    expectEarlierTakeUntouched();
}

TEST_F(RecordingSoundTests, AnEncoderThatRefusesTheSoundFailsBeforeAnyStream)
{
    audioEncoder.refusesSettings = true;

    EXPECT_EQ(recordError(), "AVAssetWriter refused the AAC audio input.");
    EXPECT_EQ(stream.starts, 0);
    EXPECT_FALSE(std::filesystem::exists(take));
}

TEST_F(RecordingSoundTests, AMicrophoneThatRefusesFailsBeforeAnythingIsMade)
{
    microphone.makeError = std::make_exception_ptr(PlatformError("PulseAudio", 3, "the device is busy"));

    EXPECT_EQ(recordError(), "the device is busy");
    EXPECT_EQ(encoder.cancels, 0);
    EXPECT_EQ(stream.starts, 0);
    EXPECT_EQ(systemAudio.starts, 0);
    EXPECT_EQ(takeFiles(), Lines{});
}

TEST_F(RecordingSoundTests, TheMicrophoneGetsReadyWhileTheCaptureIsOpened)
{
    int begins = 0;
    stream.onOpen = [&] { begins = microphone.begins; };
    record();
    EXPECT_EQ(begins, 1);
    EXPECT_EQ(microphone.begins, 1);
}

TEST_F(RecordingSoundTests, TheMicrophoneIsSilentUntilTheUserHasAnswered)
{
    windowSystem.abilities.asksUser = true;
    int begins = 0;
    stream.onOpen = [&] { begins = microphone.begins; };
    record();
    EXPECT_EQ(begins, 0);
    EXPECT_EQ(microphone.begins, 1);
}

TEST_F(RecordingSoundTests, AMicrophoneThatCannotBeginEndsTheStart)
{
    microphone.beginError = std::make_exception_ptr(PlatformError("POSIX", 11, "no thread"));
    EXPECT_EQ(recordError(), "no thread");
    EXPECT_EQ(microphone.stops, 0);
    EXPECT_FALSE(microphone.isAlive);
    EXPECT_EQ(takeFiles(), Lines{});
}

TEST_F(RecordingSoundTests, AWriterThatCannotBeMadeStopsTheMicrophone)
{
    encoder.refusesSettings = true;
    EXPECT_NE(recordError(), "");
    EXPECT_EQ(microphone.begins, 1);
    EXPECT_EQ(microphone.starts, 0);
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_FALSE(microphone.isAlive);
    EXPECT_EQ(takeFiles(), Lines{});
}

TEST_F(RecordingSoundTests, AMicrophoneThatIsLostBeforeTheStartEndsTheRecordingNormally)
{
    stream.onOpen = [this] { microphone.disconnect(); };
    stream.onStop = [this] { clock.onSleep(); };
    record();
    EXPECT_TRUE(wasTold("Microphone stopped (Desk Microphone disconnected); finishing recording"));
}

TEST_F(RecordingSoundTests, ACaptureThatCannotBeOpenedStopsTheMicrophone)
{
    stream.openError = std::make_exception_ptr(PlatformError("X11", 3, "the window is gone"));

    EXPECT_EQ(recordError(), "the window is gone");
    EXPECT_EQ(microphone.starts, 0);
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_FALSE(microphone.isAlive);
    EXPECT_EQ(systemAudio.starts, 0);
}

TEST_F(RecordingSoundTests, PermissionThatWentAwayStartsNoSound)
{
    screen.grantedAnswers = 1;

    EXPECT_EQ(recordError(), "Screen Recording permission is not granted for glimto-capture.");
    EXPECT_EQ(microphone.starts, 0);
    EXPECT_EQ(systemAudio.starts, 0);
    expectCleanedUp();
    expectSoundEnded();
}

TEST_F(RecordingSoundTests, AMicrophoneThatDoesNotStartIsCleanedUp)
{
    microphone.outcome = AudioInputStart::notRunning;

    EXPECT_EQ(recordError(), "The microphone did not start.");
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_EQ(stream.starts, 0);
    EXPECT_EQ(systemAudio.starts, 0);
    expectCleanedUp();
    expectSoundEnded();
}

TEST_F(RecordingSoundTests, SystemAudioThatDoesNotStartStopsTheMicrophone)
{
    systemAudio.outcome = AudioInputStart::notRunning;

    EXPECT_EQ(recordError(), "System audio did not start.");
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_EQ(systemAudio.stops, 1);
    EXPECT_EQ(stream.starts, 0);
    expectCleanedUp();
    expectSoundEnded();
}

TEST_F(RecordingSoundTests, AStreamThatDoesNotStartStopsAllSoundBeforeTheWriterIsCancelled)
{
    int cancelsBefore = -1;
    Lines stops;
    systemAudio.onStop = [&] { stops.push_back("system audio"); };
    microphone.onStop = [&] {
        stops.push_back("microphone");
        cancelsBefore = encoder.cancels;
    };
    stream.startError = std::make_exception_ptr(PlatformError("X11", 3, "no shared memory"));

    EXPECT_EQ(recordError(), "no shared memory");
    EXPECT_EQ(stops, (Lines{"system audio", "microphone"}));
    EXPECT_EQ(cancelsBefore, 0);
    EXPECT_FALSE(std::filesystem::exists(take));
    expectCleanedUp();
    expectSoundEnded();
}

TEST_F(RecordingSoundTests, AStreamErrorStopsAllSoundAndKeepsFinishedSegments)
{
    const auto aRound = clock.onSleep;
    clock.onSleep = [this, aRound] {
        aRound();
        audioEncoder.outputSegment("whole", 4.0);
        stream.fail(std::make_exception_ptr(PlatformError("X11", 3, "the display is gone")));
    };

    EXPECT_EQ(recordError(), "the display is gone");
    EXPECT_EQ(systemAudio.stops, 1);
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_EQ(directory.text("take/segments/audio/segment_000.m4s"), "whole");
    expectFinished();
    EXPECT_FALSE(systemAudio.isAlive);
    EXPECT_FALSE(microphone.isAlive);
    EXPECT_EQ(audioEncoder.finishes, 1);
}

TEST_F(RecordingSoundTests, AnAudioEncoderThatFailsEndsTheRecordingWithItsError)
{
    options.durationSeconds = 600;
    audioEncoder.error = "the AAC encoder broke";
    audioEncoder.onAppend = [this] { audioEncoder.status = AssetWriterStatus::failed; };

    EXPECT_EQ(recordError(), "the AAC encoder broke");
    expectCleanedUp();
    expectSoundEnded();
}

TEST_F(RecordingSoundTests, AStopOfTheStreamThatFailsStopsAllSound)
{
    stream.stopError = std::make_exception_ptr(PlatformError("X11", 3, "cannot stop"));

    EXPECT_EQ(recordError(), "cannot stop");
    EXPECT_EQ(systemAudio.stops, 1);
    EXPECT_EQ(microphone.stops, 1);
    expectCleanedUp();
    expectSoundEnded();
}

// Sound that hangs while it is to start.
class HangingSoundTests : public RecordingSoundTests {
protected:
    HangingSoundTests()
    {
        startLimits.patience = 0s;
        startLimits.givingUp = 0s;
        makeEarlierTake();
    }

    void expectNothingStarted()
    {
        EXPECT_FALSE(systemAudio.isAlive);
        EXPECT_FALSE(microphone.isAlive);
        EXPECT_EQ(stream.starts, 0);
        EXPECT_FALSE(wasTold("GLIMTO_RECORDING_STATUS=recording"));
        expectEarlierTakeUntouched();
    }

    static constexpr const char* interrupt = "Interrupt received; finishing recording";
    static constexpr const char* noFrames
        = "No screen frames were captured. Check Screen Recording permission and try moving "
          "the cursor during the capture.";
};

TEST_F(HangingSoundTests, AStopWishGivesUpTheMicrophone)
{
    microphone.isStartKnown = false;
    stopRequests.request = interrupt;

    EXPECT_EQ(recordError(), noFrames);
    EXPECT_TRUE(wasTold(interrupt));
    EXPECT_EQ(microphone.starts, 0);
    EXPECT_EQ(microphone.stops, 1);
    EXPECT_EQ(systemAudio.begins, 0);
    expectNothingStarted();
}

TEST_F(HangingSoundTests, AStopWishGivesUpTheSystemsSound)
{
    systemAudio.isStartKnown = false;
    stopRequests.request = interrupt;

    EXPECT_EQ(recordError(), noFrames);
    EXPECT_EQ(systemAudio.starts, 0);
    EXPECT_EQ(systemAudio.stops, 1);
    EXPECT_EQ(microphone.stops, 1);
    expectNothingStarted();
}

TEST_F(HangingSoundTests, SoundThatNobodyGivesUpEndsWithItsTime)
{
    microphone.isStartKnown = false;
    startLimits.step = 10ms;

    EXPECT_EQ(recordError(), "Starting the capture timed out after 0s.");
    EXPECT_EQ(microphone.stops, 1);
    expectNothingStarted();
}

TEST_F(HangingSoundTests, AStopWishGivesUpASoundServerThatIsAsked)
{
    std::promise<void> hang;
    std::promise<void> end;
    audioInputs.onMicrophone = [&] {
        hang.get_future().wait();
        end.set_value_at_thread_exit();
    };
    stopRequests.request = interrupt;

    EXPECT_EQ(recordError(), noFrames);
    EXPECT_EQ(microphone.begins, 0);
    expectNothingStarted();
    hang.set_value();
    end.get_future().wait(); // the thread that was let go of uses what is above
}

TEST_F(HangingSoundTests, AStartThatIsKnownIsWaitedForByNobody)
{
    std::filesystem::remove_all(take);
    stopRequests.request = interrupt;
    stream.onStop = [this] {
        stream.deliver(fakeFrame(0, 640, 480));
        microphone.deliverTone(MediaTime::fromNanoseconds(0));
    };
    options.captureSystemAudio = false;
    options.durationSeconds = 600;

    EXPECT_EQ(record().videoSegmentCount, 1);
    EXPECT_EQ(microphone.looks, 1);
}

} // namespace
} // namespace glimto
