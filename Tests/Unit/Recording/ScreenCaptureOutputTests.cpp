#include "Recording/ScreenCaptureOutput.h"

#include <array>

#include <gtest/gtest.h>

#include "Artifacts/OutputPlan.h"
#include "Fakes/FakeAssetWriter.h"
#include "Fakes/FakeAudioConverter.h"
#include "Fakes/FakeAudioInput.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeImageCodec.h"
#include "Fakes/FakeLineOutput.h"
#include "RecordingTestSupport.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class ScreenCaptureOutputTests : public ::testing::Test {
protected:
    static VideoFrame frameWithStatus(std::optional<FrameStatus> status)
    {
        VideoFrame frame = fakeFrame(5);
        frame.status = status;
        return frame;
    }

    TakeDirectory take;
    OutputPlan plan = OutputPlan::prepare(take.path(), OutputPlan::EarlierTake::kept);
    FakeAssetWriterFactory assetWriters;
    FakeImageCodec codec;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    std::shared_ptr<SegmentedMP4Writer> writer = std::make_shared<SegmentedMP4Writer>(plan,
        SegmentedMP4Writer::Settings{
            .width = 64, .height = 48, .framesPerSecond = 30, .segmentSeconds = Seconds(4)},
        assetWriters, assetWriters, standardError);
    std::shared_ptr<ThumbnailWriter> thumbnail
        = std::make_shared<ThumbnailWriter>(plan.thumbnailURL, codec, standardError);
    // Hands what it mixed to `mixedTimes`.
    std::shared_ptr<AudioMixer> makeMixer()
    {
        constexpr std::array sources = {AudioMixerSource::system};
        return std::make_shared<AudioMixer>(
            sources, 48000,
            [this](const AudioBuffer& buffer) { mixedTimes.push_back(buffer.presentationTime); }, converters,
            standardOutput);
    }

    FakeAudioConverterFactory converters;
    FakeAudioInputFactory inputs;
    FakeAudioInputState& input = *inputs.systemInput;
    std::vector<MediaTime> mixedTimes;
    std::shared_ptr<ScreenCaptureOutput> output = std::make_shared<ScreenCaptureOutput>(
        writer, thumbnail, nullptr, Outputs{standardOutput, standardError});
};

TEST_F(ScreenCaptureOutputTests, CompleteAndStartedFramesAreUsable)
{
    EXPECT_TRUE(frameWithStatus(FrameStatus::complete).isUsableScreenFrame());
    EXPECT_TRUE(frameWithStatus(FrameStatus::started).isUsableScreenFrame());
}

TEST_F(ScreenCaptureOutputTests, FramesOfOtherStatesAreNotUsable)
{
    EXPECT_FALSE(frameWithStatus(FrameStatus::idle).isUsableScreenFrame());
    EXPECT_FALSE(frameWithStatus(FrameStatus::blank).isUsableScreenFrame());
    EXPECT_FALSE(frameWithStatus(FrameStatus::suspended).isUsableScreenFrame());
    EXPECT_FALSE(frameWithStatus(FrameStatus::stopped).isUsableScreenFrame());
    EXPECT_FALSE(frameWithStatus(static_cast<FrameStatus>(6)).isUsableScreenFrame());
}

TEST_F(ScreenCaptureOutputTests, AFrameWithoutStatusIsUsableWhenItHasAPicture)
{
    VideoFrame withoutPicture;
    EXPECT_TRUE(frameWithStatus(std::nullopt).isUsableScreenFrame());
    EXPECT_FALSE(withoutPicture.isUsableScreenFrame());
}

TEST_F(ScreenCaptureOutputTests, ACompleteFrameWithoutPictureIsNotUsable)
{
    VideoFrame frame = frameWithStatus(FrameStatus::complete);
    frame.picture = nullptr;
    EXPECT_FALSE(frame.isUsableScreenFrame());
}

TEST_F(ScreenCaptureOutputTests, UsableFramesGoToTheThumbnailAndTheWriter)
{
    output->handlers().onFrame(fakeFrame(5));
    output->handlers().onFrame(fakeFrame(6));
    thumbnail->waitUntilWritten();

    EXPECT_EQ(codec.encodedPictures, 1);
    EXPECT_EQ(assetWriters.writer->frames.size(), 2U);
}

TEST_F(ScreenCaptureOutputTests, UnusableFramesGoNowhere)
{
    output->didOutputFrame(frameWithStatus(FrameStatus::idle));
    thumbnail->waitUntilWritten();

    EXPECT_EQ(codec.encodedPictures, 0);
    EXPECT_TRUE(assetWriters.writer->frames.empty());
    EXPECT_EQ(writer->firstVideoSamplePtsAnchor(), std::nullopt);
}

TEST_F(ScreenCaptureOutputTests, SystemAudioGoesToTheMixerAtItsOwnTime)
{
    const auto mixer = makeMixer();
    output = std::make_shared<ScreenCaptureOutput>(
        writer, thumbnail, mixer, Outputs{standardOutput, standardError});
    const auto source = inputs.makeSystemAudioInput({});
    source->start(output->systemAudioHandlers());
    input.deliverTone({96'000, 48000});
    mixer->finish();

    EXPECT_EQ(mixedTimes.front(), (MediaTime{96'000, 48000}));
}

TEST_F(ScreenCaptureOutputTests, WithoutAMixerSystemAudioIsDropped)
{
    const auto source = inputs.makeSystemAudioInput({});
    source->start(output->systemAudioHandlers());
    input.deliverTone({96'000, 48000});

    EXPECT_EQ(output->stoppedWithError(), nullptr);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(ScreenCaptureOutputTests, AnInterruptionOfSystemAudioIsOneWarningAndNoError)
{
    const auto source = inputs.makeSystemAudioInput({});
    source->start(output->systemAudioHandlers());
    input.interrupt("The sound server went away; system audio is silent until it is back");
    input.disconnect();
    input.fail("no sound server");

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: The sound server went away; system audio is silent until it is back"});
    EXPECT_EQ(output->stoppedWithError(), nullptr);
}

TEST_F(ScreenCaptureOutputTests, SystemAudioThatFailsIsAWarningAsWell)
{
    output->systemAudioHandlers().onFailed("");

    EXPECT_EQ(standardError.lines(), Lines{"warning: System audio failed"});
}

TEST_F(ScreenCaptureOutputTests, SystemAudioThatIsDisconnectedIsAWarningAsWell)
{
    output->systemAudioHandlers().onDisconnected();

    EXPECT_EQ(standardError.lines(), Lines{"warning: System audio was disconnected"});
}

TEST_F(ScreenCaptureOutputTests, HasNoStopErrorAtFirst)
{
    EXPECT_EQ(output->stoppedWithError(), nullptr);
}

TEST_F(ScreenCaptureOutputTests, TheFirstStopErrorWinsAndEveryOneIsTold)
{
    const auto handlers = output->handlers();
    handlers.onStopped(std::make_exception_ptr(PlatformError("X11", 1, "the display is gone")));
    handlers.onStopped(std::make_exception_ptr(PlatformError("X11", 2, "the server is gone")));

    EXPECT_EQ(errorFacts(output->stoppedWithError()).message, "the display is gone");
    EXPECT_EQ(standardOutput.lines(),
        (Lines{"capture stopped with error: the display is gone",
            "capture stopped with error: the server is gone"}));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(ScreenCaptureOutputTests, AnUnexpectedFailureOfAFrameEndsTheRecordingAsAStopError)
{
    assetWriters.writer->onAppend = [] { throw std::runtime_error("out of luck"); };
    output->didOutputFrame(fakeFrame(5));

    EXPECT_EQ(errorFacts(output->stoppedWithError()).message, "out of luck");
}

TEST_F(ScreenCaptureOutputTests, HandlersKeepTheOutputAlive)
{
    const auto handlers = output->handlers();
    output.reset();
    handlers.onFrame(fakeFrame(5));

    EXPECT_EQ(assetWriters.writer->frames.size(), 1U);
}

} // namespace
} // namespace glimto
