#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeAssetWriter.h"
#include "Fakes/FakeAudioConverter.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeEventTap.h"
#include "Fakes/FakeImageCodec.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeNetwork.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeRecordingClock.h"
#include "Fakes/FakeShareableContentProvider.h"
#include "Fakes/FakeStillServices.h"
#include "Fakes/FakeStopRequests.h"
#include "Recording/ScreenSegmentRecorder.h"
#include "RecordingTestSupport.h"

namespace glimto {

using Lines = std::vector<std::string>;

// Grants the capture for the first questions only.
class LimitedScreenAccess final : public ScreenAccess {
public:
    bool preflightScreenCaptureAccess() override { return !screenCaptureObstacle(); }
    std::optional<std::string> screenCaptureObstacle() override
    {
        if (grantedAnswers-- > 0)
            return std::nullopt;
        return "The screen is out of reach.";
    }
    std::optional<std::int32_t> frontmostProcessID() override { return std::nullopt; }
    std::optional<Point> cursorLocation() override { return std::nullopt; }
    std::optional<std::uint32_t> displayIDAt(Point) override { return std::nullopt; }

    int grantedAnswers = 100;
};

class NoWorkspace final : public Workspace {
public:
    bool openFile(const std::filesystem::path&) override { return false; }
    bool revealFile(const std::filesystem::path&) override { return false; }
};

// A recorder on a display of 640 x 480 whose stream delivers a frame in every round of the wait loop.
class ScreenSegmentRecorderFixture : public ::testing::Test {
protected:
    ScreenSegmentRecorderFixture()
    {
        content.content.displays.push_back({.displayID = 1,
            .frame = {0, 0, 640, 480},
            .width = 640,
            .height = 480,
            .pixelsWide = 640,
            .pixelsHigh = 480});
        options.outputDirectory = take;
        options.durationSeconds = 1.0;
        clock.onSleep = [this] { stream.deliver(fakeFrame(++frameTime * 200'000'000, 640, 480)); };
    }

    RecordingMetadataJSON record()
    {
        ScreenSegmentRecorder recorder(services, {standardOutput, standardError}, clock, limits);
        return recorder.record(options);
    }

    // The text of what record() throws; empty when it throws nothing.
    std::string recordError()
    {
        try {
            record();
        } catch (const std::exception& error) {
            return error.what();
        }
        return {};
    }

    Lines told() const { return withoutTimestamps(standardOutput.lines()); }
    Lines takeFiles() const { return directory.files(); }
    bool wasTold(const std::string& line) const
    {
        const Lines lines = told();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    void expectCleanedUp()
    {
        EXPECT_TRUE(stream.outputsRemoved);
        EXPECT_EQ(encoder.cancels, 1);
        EXPECT_FALSE(std::filesystem::exists(take / "manifest.json"));
        EXPECT_FALSE(wasTold(R"({"kind":"completed","state":"completed"})"));
    }

    TakeDirectory directory;
    std::filesystem::path take = directory.path() / "take";
    std::string root = take.string();
    std::int64_t frameTime = 0;

    FakeProcessEnvironment process;
    LimitedScreenAccess screen;
    FakeShareableContentProvider content;
    FakeCaptureStreamFactory captureStreams;
    FakeAssetWriterFactory assetWriters;
    FakeAudioConverterFactory audioConverters;
    FakeAudioInputFactory audioInputs;
    FakeEventTapFactory eventTaps;
    FakeImageCodec images;
    FakeStillServices stills;
    NoWorkspace workspace;
    FakeStopRequests stopRequests;
    FakeNetwork network;
    PlatformServices services{.process = process,
        .screen = screen,
        .content = content,
        .captureStreams = captureStreams,
        .assetWriters = assetWriters,
        .audioConverters = audioConverters,
        .audioInputs = audioInputs,
        .eventTaps = eventTaps,
        .images = images,
        .stillCapture = stills.capture,
        .pngCodec = stills.png,
        .textDrawing = stills.textDrawing,
        .pasteboard = stills.pasteboard,
        .textRecognition = stills.textRecognition,
        .workspace = workspace,
        .stopRequests = stopRequests,
        .http = network.http,
        .textPatterns = network.textPatterns};

    FakeCaptureStreamState& stream = *captureStreams.stream;
    FakeAssetWriterState& encoder = *assetWriters.writer;
    FakeAssetWriterState& audioEncoder = *assetWriters.audioWriter;
    FakeAudioInputState& systemAudio = *audioInputs.systemInput;
    FakeAudioInputState& microphone = *audioInputs.microphoneInput;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    FakeRecordingClock clock;
    RecordingStopLimits limits;
    RecordOptions options;
};

} // namespace glimto
