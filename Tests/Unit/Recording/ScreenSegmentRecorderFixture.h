#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakePlatform.h"
#include "Fakes/FakeRecordingClock.h"
#include "Recording/ScreenSegmentRecorder.h"
#include "RecordingTestSupport.h"

namespace glimto {

using Lines = std::vector<std::string>;

// A recorder on a display of 640 x 480 whose stream delivers a frame in every round of the wait loop.
class ScreenSegmentRecorderFixture : public ::testing::Test, protected FakePlatform {
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
        ScreenSegmentRecorder recorder(services, {standardOutput, standardError}, clock, limits, startLimits);
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

    // After a stream that failed: what it has delivered is whole.
    void expectFinished()
    {
        EXPECT_TRUE(stream.outputsRemoved);
        EXPECT_EQ(encoder.finishes, 1);
        EXPECT_FALSE(std::filesystem::exists(take / "manifest.json"));
        EXPECT_FALSE(wasTold(R"({"kind":"completed","state":"completed"})"));
    }

    TakeDirectory directory;
    std::filesystem::path take = directory.path() / "take";
    std::string root = take.string();
    std::int64_t frameTime = 0;

    FakeCaptureStreamState& stream = *captureStreams.stream;
    FakeAssetWriterState& encoder = *assetWriters.writer;
    FakeAssetWriterState& audioEncoder = *assetWriters.audioWriter;
    FakeAudioInputState& systemAudio = *audioInputs.systemInput;
    FakeAudioInputState& microphone = *audioInputs.microphoneInput;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    FakeRecordingClock clock;
    RecordingStopLimits limits;
    CaptureStartLimits startLimits;
    RecordOptions options;
};

} // namespace glimto
