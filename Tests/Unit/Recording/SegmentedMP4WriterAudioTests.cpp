#include "Recording/SegmentedMP4Writer.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/AudioSamples.h"
#include "SegmentedMP4WriterFixture.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

constexpr std::int64_t second = 1'000'000'000; // nanoseconds

constexpr const char* noSoundMessage
    = "Capture ended without appended audio samples. Check the microphone, and for system audio make sure "
      "Screen & System Audio Recording permission is granted.";

// A writer with an audio track of 48000 Hz.
class SegmentedMP4WriterAudioTests : public SegmentedMP4WriterFixture {
protected:
    SegmentedMP4WriterAudioTests()
        : SegmentedMP4WriterFixture(settingsWithSound())
    {
    }

    static SegmentedMP4Writer::Settings settingsWithSound()
    {
        SegmentedMP4Writer::Settings settings = videoSettings();
        settings.includeAudio = true;
        settings.audioSampleRate = 48000;
        settings.audioChannelCount = 2;
        return settings;
    }

    void appendFrame(std::int64_t nanoseconds) { writer->appendVideoFrame(fakeFrame(nanoseconds)); }

    // Stereo at 48000 Hz from frame `start` of the host clock on.
    void appendSound(std::int64_t start, std::size_t frameCount = 1024) { append(sound(frameCount), start); }

    void append(const AudioSamples& samples, std::int64_t start)
    {
        AudioBuffer buffer = samples.buffer();
        buffer.presentationTime = {start, 48000};
        writer->appendAudioSampleBuffer(buffer);
    }

    static AudioSamples sound(std::size_t frameCount)
    {
        return {{48000, 2, AudioSampleType::float32, AudioLayout::interleaved}, frameCount, {0.5F, -0.5F}};
    }

    FakeAssetWriterState& video = *factory.writer;
    FakeAssetWriterState& audio = *factory.audioWriter;
};

TEST_F(SegmentedMP4WriterAudioTests, ConfiguresTheEncoder)
{
    ASSERT_TRUE(audio.audioSettings.has_value());
    EXPECT_EQ(audio.audioSettings->sampleRate, 48000);
    EXPECT_EQ(audio.audioSettings->channelCount, 2);
    EXPECT_EQ(audio.audioSettings->averageBitRate, 128'000);
    EXPECT_EQ(audio.segmentInterval, (MediaTime{2400, 600}));
}

TEST_F(SegmentedMP4WriterAudioTests, AnEncoderThatRefusesTheSettingsFails)
{
    audio.refusesSettings = true;
    try {
        makeWriter(settingsWithSound());
        FAIL() << "nothing was thrown";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "AVAssetWriter refused the AAC audio input.");
    }
}

TEST_F(SegmentedMP4WriterAudioTests, AWholeTakeHasTheSegmentsOfBothTracks)
{
    appendFrame(0);
    appendSound(0);
    audio.outputSegment("sound", 4.0);
    const auto tracks = writer->finish();

    ASSERT_EQ(tracks.audio.size(), 2U);
    EXPECT_EQ(tracks.audio[0].relativeKey, "segments/audio/segment_000.m4s");
    EXPECT_EQ(tracks.audio[0].duration, 4.0);
    EXPECT_EQ(tracks.audio[0].bytes, 5);
    EXPECT_EQ(tracks.audio[1].index, 1);
    EXPECT_EQ(tracks.video.size(), 1U);
    EXPECT_EQ(writer->audioInitializationSegmentKey(), "segments/audio/init.mp4");
    EXPECT_EQ(take.files(),
        (Lines{"segments/audio/init.mp4", "segments/audio/segment_000.m4s", "segments/audio/segment_001.m4s",
            "segments/video/init.mp4", "segments/video/segment_000.m4s"}));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterAudioTests, SoundIsTimedFromTheFirstFrameOn)
{
    appendFrame(5 * second);
    appendSound(5 * 48000 + 480, 960);

    ASSERT_EQ(audio.pieces.size(), 1U);
    EXPECT_EQ(audio.pieces[0].time, MediaTime::fromNanoseconds(second / 100));
    EXPECT_EQ(audio.pieces[0].frameCount, 960U);
    EXPECT_EQ(audio.pieces[0].firstSample, 0.5F);
}

TEST_F(SegmentedMP4WriterAudioTests, SoundBeforeTheFirstFrameIsDiscardedWithoutCountingAFailure)
{
    appendSound(0);
    appendFrame(second);
    appendSound(40000);
    appendSound(47999); // reaches beyond the first frame, but begins before it
    appendSound(48000);
    writer->finish();

    ASSERT_EQ(audio.pieces.size(), 1U);
    EXPECT_EQ(audio.pieces[0].time, MediaTime::fromNanoseconds(0));
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterAudioTests, SoundWithoutATimeOrNotReadyIsIgnored)
{
    const AudioSamples samples = sound(1024);
    AudioBuffer buffer = samples.buffer();
    appendFrame(0);
    writer->appendAudioSampleBuffer(buffer);
    buffer.presentationTime = {0, 48000};
    buffer.isReady = false;
    writer->appendAudioSampleBuffer(buffer);

    EXPECT_TRUE(audio.pieces.empty());
    EXPECT_EQ(finishError(), noSoundMessage);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterAudioTests, WithoutAnAudioTrackSoundIsIgnored)
{
    writer.reset();
    writer = makeWriter(videoSettings());
    appendFrame(0);
    appendSound(0);

    EXPECT_TRUE(writer->finish().audio.empty());
    EXPECT_TRUE(audio.pieces.empty());
    EXPECT_EQ(writer->audioInitializationSegmentKey(), std::nullopt);
}

TEST_F(SegmentedMP4WriterAudioTests, SoundThatWasDroppedOrRefusedIsCounted)
{
    appendFrame(0);
    appendSound(0);
    audio.isReady = false;
    appendSound(1024);
    audio.isReady = true;
    audio.refusesMedia = true;
    appendSound(2048);
    audio.refusesMedia = false;

    EXPECT_EQ(writer->finish().audio.size(), 1U);
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 2 sample buffer(s) while writing"});
}

TEST_F(SegmentedMP4WriterAudioTests, ATakeWithoutAnySoundFailsWithoutTheWarning)
{
    appendFrame(0);
    audio.isReady = false;
    appendSound(0);
    audio.isReady = true;

    EXPECT_EQ(finishError(), noSoundMessage);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(SegmentedMP4WriterAudioTests, SilenceThatStoodInForADeadSourceIsNoSound)
{
    for (int time = 0; time <= 30; ++time)
        appendFrame(time * second);

    EXPECT_FALSE(audio.silenceFills.empty());
    EXPECT_EQ(finishError(), noSoundMessage);
}

TEST_F(SegmentedMP4WriterAudioTests, ATrackThatFallsFarBehindIsFilledWithSilence)
{
    appendFrame(0);
    appendSound(0, 48000);
    appendFrame(11 * second);
    EXPECT_TRUE(audio.silenceFills.empty());
    appendFrame(11 * second + 1);
    appendFrame(16 * second);
    appendFrame(17 * second);

    EXPECT_EQ(audio.silenceFills,
        (std::vector<MediaTime>{
            MediaTime::fromNanoseconds(6 * second + 1), MediaTime::fromNanoseconds(12 * second)}));
}

TEST_F(SegmentedMP4WriterAudioTests, SoundThatKeepsUpIsNotFilled)
{
    for (int time = 0; time <= 60; ++time) {
        appendFrame(time * second);
        appendSound(time * 48000, 48000);
    }

    EXPECT_TRUE(audio.silenceFills.empty());
}

TEST_F(SegmentedMP4WriterAudioTests, TheAudioTrackEndsWhereTheVideoDoes)
{
    appendFrame(0);
    appendSound(0, 480'000);
    video.outputSegment("first", 4.0);
    writer->finish();

    EXPECT_EQ(audio.sessionEnd, MediaTime::fromNanoseconds(5 * second));
    EXPECT_EQ(video.sessionEnd, std::nullopt);
}

TEST_F(SegmentedMP4WriterAudioTests, TheVideoIsFinishedBeforeTheAudio)
{
    int audioFinishesBefore = -1;
    video.onFinish = [&] { audioFinishesBefore = audio.finishes; };
    appendFrame(0);
    appendSound(0);
    writer->finish();

    EXPECT_EQ(audioFinishesBefore, 0);
    EXPECT_EQ(audio.finishes, 1);
}

TEST_F(SegmentedMP4WriterAudioTests, AnAudioEncoderThatDoesNotStartIsTheWritersFailure)
{
    audio.failsToStart = true;
    audio.error = "the AAC encoder has no memory";
    appendFrame(0);
    appendFrame(1);

    EXPECT_EQ(errorFacts(writer->failure()).message, "the AAC encoder has no memory");
    EXPECT_EQ(video.cancels, 1);
    EXPECT_EQ(audio.cancels, 1);
    EXPECT_TRUE(video.frames.empty());
}

TEST_F(SegmentedMP4WriterAudioTests, AVideoEncoderThatDoesNotStartCancelsBoth)
{
    video.failsToStart = true;
    appendFrame(0);

    EXPECT_EQ(errorFacts(writer->failure()).message, "The video encoder failed.");
    EXPECT_EQ(video.cancels, 1);
    EXPECT_EQ(audio.cancels, 1);
}

TEST_F(SegmentedMP4WriterAudioTests, AnAudioEncoderThatFailsWhileRecordingIsTheWritersFailure)
{
    appendFrame(0);
    EXPECT_EQ(writer->failure(), nullptr);
    audio.status = AssetWriterStatus::failed;

    EXPECT_EQ(errorFacts(writer->failure()).message, "The audio encoder failed.");
}

TEST_F(SegmentedMP4WriterAudioTests, AnAudioEncoderThatEndsBadlyFailsWithItsStatus)
{
    appendFrame(0);
    appendSound(0);
    audio.finalStatus = AssetWriterStatus::failed;
    audio.error = "the AAC encoder broke";

    EXPECT_EQ(finishError(), "audio AVAssetWriter finished with status 3");
    EXPECT_EQ(standardError.lines(), Lines{"warning: the AAC encoder broke"});
}

TEST_F(SegmentedMP4WriterAudioTests, AVideoEncoderThatEndsBadlyComesFirst)
{
    appendFrame(0);
    appendSound(0);
    video.finalStatus = AssetWriterStatus::failed;
    audio.finalStatus = AssetWriterStatus::failed;

    EXPECT_EQ(finishError(), "video AVAssetWriter finished with status 3");
    EXPECT_EQ(audio.finishes, 0);
}

TEST_F(SegmentedMP4WriterAudioTests, MissingOutputIsToldTrackByTrack)
{
    appendFrame(0);
    appendSound(0);
    video.outputsLastSegment = false;
    audio.outputsLastSegment = false;

    EXPECT_EQ(finishError(), "AVAssetWriter did not output media segments.");
}

TEST_F(SegmentedMP4WriterAudioTests, AMissingAudioInitializationSegmentComesBeforeMissingMediaSegments)
{
    audio.outputsInitialization = false;
    video.outputsLastSegment = false;
    appendFrame(0);
    appendSound(0);

    EXPECT_EQ(finishError(), "AVAssetWriter did not output an audio initialization segment.");
}

TEST_F(SegmentedMP4WriterAudioTests, ATakeWithoutAudioSegmentsFails)
{
    audio.outputsLastSegment = false;
    appendFrame(0);
    appendSound(0);

    EXPECT_EQ(finishError(), "AVAssetWriter did not output audio media segments.");
}

TEST_F(SegmentedMP4WriterAudioTests, AnAudioFileThatCannotBeWrittenFailsTheTake)
{
    std::filesystem::remove_all(plan.audioSegmentsDirectory);
    appendFrame(0);
    appendSound(0);
    const std::string message = "Could not write " + (plan.audioSegmentsDirectory / "init.mp4").string()
        + ": No such file or directory";

    EXPECT_EQ(finishError(), message);
    EXPECT_EQ(standardError.lines(), Lines{"warning: dropped or rejected 1 sample buffer(s) while writing"});
    EXPECT_EQ(errorFacts(writer->failure()).message, message);
}

TEST_F(SegmentedMP4WriterAudioTests, CancellingKeepsFinishedSegmentsOfBothTracksOnly)
{
    appendFrame(0);
    appendSound(0);
    audio.outputSegment("whole", 4.0);
    audio.outputPiece("half");
    video.outputPiece("half");
    writer->cancel();
    appendSound(1024);

    EXPECT_EQ(video.cancels, 1);
    EXPECT_EQ(audio.cancels, 1);
    EXPECT_EQ(audio.pieces.size(), 1U);
    EXPECT_EQ(take.files(),
        (Lines{"segments/audio/init.mp4", "segments/audio/segment_000.m4s", "segments/video/init.mp4"}));
}

TEST_F(SegmentedMP4WriterAudioTests, SoundAfterTheEndIsIgnored)
{
    appendFrame(0);
    appendSound(0);
    writer->finish();
    appendSound(1024);

    EXPECT_EQ(audio.pieces.size(), 1U);
}

} // namespace
} // namespace glimto
