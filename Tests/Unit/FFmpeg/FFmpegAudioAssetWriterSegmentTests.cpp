#include "Backends/FFmpeg/FFmpegAudioAssetWriter.h"

#include <algorithm>
#include <future>
#include <memory>

#include <gmock/gmock.h>

#include "ModuleAssetWriters.h"
#include "FFmpegAudioAssetWriterFixture.h"

namespace glimto {
namespace {

// Segments, the track's end, and the life of a writer.
using FFmpegAudioAssetWriterSegmentTests = FFmpegAudioAssetWriterFixture;

TEST_F(FFmpegAudioAssetWriterSegmentTests, SegmentsAreCutAtTheBlockNearestToTheInterval)
{
    startWriter();
    append(0, tones(0, 216'000));
    finishAndDecode();

    std::vector<std::int64_t> starts;
    std::vector<std::int64_t> durations;
    for (const auto& segment : collector_.segments) {
        EXPECT_EQ(segment.report.duration->timescale, sampleRate);
        starts.push_back(segment.report.earliestPresentationTime->value);
        durations.push_back(segment.report.duration->value);
    }
    EXPECT_THAT(starts, testing::ElementsAre(0, 48'128, 96'256, 144'384, 192'512));
    EXPECT_THAT(durations, testing::ElementsAre(48'128, 48'128, 48'128, 48'128, 216'000 - 192'512));
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, EverySegmentDecodesAloneAfterTheInitializationSegment)
{
    startWriter(0.7);
    append(0, tones(0, 150'000));
    finishAndDecode();

    ASSERT_EQ(collector_.segments.size(), 5U);
    for (const auto& segment : collector_.segments) {
        const DecodedSound sound = decodeSound(collector_.playable({segment}));
        EXPECT_EQ(sound.start, segment.report.earliestPresentationTime->value);
        EXPECT_EQ(sound.duration, sound.start + segment.report.duration->value);
        const auto frames = static_cast<std::int64_t>(sound.channels[0].size());
        EXPECT_LT(frames - segment.report.duration->value, framesPerBlock);
    }
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SegmentsCoverTheTimeOfTheVideosSegments)
{
    SegmentCollector pictures;
    const VideoEncodingSettings settings = {.width = 16,
        .height = 16,
        .framesPerSecond = 30,
        .averageBitRate = 100'000,
        .maxKeyFrameInterval = 30,
        .maxKeyFrameIntervalDuration = std::chrono::seconds(1)};
    const auto video = moduleAssetWriters().makeVideoWriter(settings, {600, 600}, pictures);
    ASSERT_TRUE(video && video->startWriting());
    const auto pixels = std::make_shared<std::vector<std::uint8_t>>(std::size_t{16 * 16 * 4}, 100);
    for (std::uint64_t number = 0; number < 60; ++number) {
        VideoFrame frame;
        frame.presentationTime = {static_cast<std::int64_t>(number), 10}; // a tenth of a second each
        frame.picture = std::make_shared<MemoryPicture>(PixelBuffer{16, 16, 64, pixels->data(), pixels});
        frame.sequenceNumber = 2 * number; // always a whole new picture
        while (!video->append(frame))
            std::this_thread::yield();
    }
    ASSERT_EQ(video->finishWriting(), AssetWriterStatus::completed);
    startWriter();
    append(0, tones(0, 5 * sampleRate));
    writer_->endSession({178, 30}); // a frame's length after the last frame
    finishAndDecode();

    ASSERT_EQ(collector_.segments.size(), pictures.segments.size());
    for (std::size_t index = 0; index < pictures.segments.size(); ++index)
        EXPECT_NEAR(collector_.segments[index].report.earliestPresentationTime->seconds(),
            pictures.segments[index].report.earliestPresentationTime->seconds(), 512.0 / sampleRate);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, IntervalShorterThanABlockMakesASegmentOfEveryBlock)
{
    startWriter(0.01);
    append(0, tones(0, 10'000));
    finishAndDecode();
    EXPECT_EQ(collector_.segments.size(), 10U);
    EXPECT_EQ(trackLength(), 10'000);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, TrackEndsExactlyWhereTheSoundDoes)
{
    for (const std::int64_t length : {1, 1023, 1024, 1025, 48'127, 48'128, 48'129}) {
        collector_ = {};
        startWriter();
        append(0, tones(0, length));
        const DecodedSound sound = finishAndDecode();
        EXPECT_EQ(sound.duration, length);
        EXPECT_EQ(trackLength(), length);
        EXPECT_LT(std::ssize(sound.channels[0]) - length, framesPerBlock);
    }
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, ShorterSoundIsFilledUpToTheSessionsEnd)
{
    startWriter();
    append(0, tones(0, sampleRate));
    writer_->endSession({270'001, 90'000});
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, 144'001); // 3.00001 s
    EXPECT_EQ(trackLength(), 144'001);
    EXPECT_EQ(peak(sound.channels[0], sampleRate + 2 * framesPerBlock, sampleRate), 0);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, LongerSoundIsCutOffAtTheSessionsEnd)
{
    startWriter();
    append(0, tones(0, 100'000));
    writer_->endSession(at(60'000));
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, 60'000);
    EXPECT_EQ(trackLength(), 60'000);
    EXPECT_LT(worstToneError(sound, framesPerBlock, 60'000), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SoundIsCutOffAlsoWhereItsSegmentWasFull)
{
    startWriter();
    append(0, tones(0, 2 * sampleRate + 40'000)); // the second segment is encoded, but not out yet
    writer_->endSession(at(2 * sampleRate - 1000));
    finishAndDecode();
    ASSERT_EQ(collector_.segments.size(), 2U);
    EXPECT_EQ(trackLength(), 2 * sampleRate - 1000);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, WhatIsOutStaysWhenTheSessionEndsBefore)
{
    startWriter();
    for (std::int64_t second = 0; second < 10; ++second)
        append(second * sampleRate, tones(second * sampleRate, sampleRate));
    waitUntilReady(); // less than two seconds wait, and one is kept back
    writer_->endSession(at(sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, trackLength());
    EXPECT_GE(trackLength(), 6 * sampleRate);
    EXPECT_LT(worstToneError(sound, framesPerBlock, trackLength()), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SessionOfNoLengthHasNoSegment)
{
    startWriter();
    append(0, tones(0, 10'000));
    writer_->endSession(at(-5));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_TRUE(collector_.segments.empty());
    EXPECT_TRUE(collector_.current.empty());
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, WithoutSoundThereIsOnlyTheInitializationSegment)
{
    startWriter();
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_FALSE(collector_.initialization.empty());
    EXPECT_TRUE(collector_.segments.empty());
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, LongSegmentComesOutInPieces)
{
    // Every piece is delivered once 256 KiB are reached; a minute has about 900 KiB.
    class Pieces final : public AssetWriterDelegate {
    public:
        void didOutputInitializationSegment(std::span<const std::byte>) override { }
        void didOutputSegmentData(std::span<const std::byte> data) override { sizes.push_back(data.size()); }
        void didFinishSegment(const SegmentReport& report) override { duration = report.duration->value; }
        std::vector<std::size_t> sizes;
        std::int64_t duration = 0;
    } pieces;
    writer_ = FFmpegAudioAssetWriter::make({sampleRate, 2, 128'000}, {3600, 1}, pieces);
    ASSERT_TRUE(writer_->startWriting());
    std::uint32_t random = 1;
    for (std::int64_t second = 0; second < 60; ++second) {
        auto noise = silence(sampleRate);
        for (float& sample : noise) {
            random = random * 1664525 + 1013904223;
            sample = static_cast<float>(random >> 8U) / 16777216.0F - 0.5F;
        }
        append(second * sampleRate, noise);
    }
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_EQ(pieces.duration, 60 * sampleRate);
    EXPECT_GE(pieces.sizes.size(), 3U);
    EXPECT_LT(*std::max_element(pieces.sizes.begin(), pieces.sizes.end()), std::size_t{300} * 1024);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SoundIsRefusedBeforeTheStartAndAfterTheEnd)
{
    makeWriter();
    const auto samples = silence(480);
    EXPECT_FALSE(writer_->isReadyForMoreMediaData());
    EXPECT_FALSE(writer_->append(buffer(0, samples)));
    EXPECT_TRUE(writer_->startWriting());
    EXPECT_FALSE(writer_->startWriting());
    EXPECT_TRUE(writer_->append(buffer(0, samples)));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_FALSE(writer_->append(buffer(480, samples)));
    writer_->fillWithSilence(at(sampleRate));
    EXPECT_EQ(trackLength(), 480);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SoundThatIsNotAsAgreedIsRefused)
{
    startWriter();
    const auto samples = silence(480);
    const AudioBuffer good = buffer(0, samples);
    const auto refuses = [&](auto spoil) {
        AudioBuffer bad = good;
        spoil(bad);
        return !writer_->append(bad);
    };
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.format.sampleRate = 44100; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.format.channelCount = 1; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.format.sampleType = AudioSampleType::integer32; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.format.layout = AudioLayout::planar; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.isReady = false; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.presentationTime = {}; }));
    EXPECT_TRUE(refuses([](AudioBuffer& bad) { bad.frameCount = 481; }));
    EXPECT_TRUE(writer_->append(good));
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, SoundIsRefusedWhileTwoSecondsWait)
{
    // The encoder stands still inside the delegate until the gate opens.
    std::promise<void> gate;
    collector_.beforeInitialization
        = [opened = gate.get_future().share()] { opened.wait_for(std::chrono::seconds(20)); };
    startWriter();
    std::int64_t frame = 0;
    for (; writer_->isReadyForMoreMediaData() && frame < 10 * sampleRate; frame += 1000)
        ASSERT_TRUE(writer_->append(buffer(frame, tones(frame, 1000))));
    EXPECT_EQ(frame, 2 * sampleRate);
    EXPECT_FALSE(writer_->append(buffer(frame, silence(1000))));
    gate.set_value();
    append(frame, tones(frame, sampleRate));
    const DecodedSound sound = finishAndDecode();
    EXPECT_EQ(sound.duration, 3 * sampleRate);
    EXPECT_LT(worstToneError(sound, framesPerBlock, 3 * sampleRate - framesPerBlock), toneTolerance);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, CancelWhileEncodingDeliversNothingMore)
{
    std::promise<void> gate;
    std::promise<void> arrived;
    collector_.beforeInitialization = [&, opened = gate.get_future().share()] {
        arrived.set_value();
        opened.wait_for(std::chrono::seconds(20));
    };
    startWriter();
    EXPECT_TRUE(writer_->append(buffer(0, tones(0, 3 * sampleRate))));
    ASSERT_EQ(arrived.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    writer_->cancelWriting();
    writer_->cancelWriting();
    gate.set_value();
    EXPECT_FALSE(writer_->append(buffer(3 * sampleRate, silence(480))));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::cancelled);
    EXPECT_TRUE(collector_.segments.empty());
    EXPECT_TRUE(collector_.current.empty());
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, CancelEndsAFinishThatWouldTakeLong)
{
    startWriter();
    writer_->endSession({100'000'000, 1}); // three years of silence
    auto finished = std::async(std::launch::async, [this] { return writer_->finishWriting(); });
    writer_->cancelWriting();
    EXPECT_EQ(finished.get(), AssetWriterStatus::cancelled);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, WriterThatIsDroppedWhileItEncodesEnds)
{
    startWriter();
    EXPECT_TRUE(writer_->append(buffer(0, tones(0, 5 * sampleRate))));
    writer_.reset();
    EXPECT_LT(collector_.segments.size(), 5U);
}

TEST_F(FFmpegAudioAssetWriterSegmentTests, FinishingTwiceAddsNothing)
{
    startWriter();
    append(0, tones(0, sampleRate));
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_EQ(writer_->finishWriting(), AssetWriterStatus::completed);
    EXPECT_EQ(trackLength(), sampleRate);
    writer_->cancelWriting();
    EXPECT_EQ(writer_->status(), AssetWriterStatus::completed);
}

TEST(FFmpegAudioAssetWriterSettingsTests, SettingsThatAACCannotHaveAreRefused)
{
    SegmentCollector collector;
    const auto isRefused = [&](AudioEncodingSettings settings) {
        return FFmpegAudioAssetWriter::make(settings, {4, 1}, collector) == nullptr;
    };
    EXPECT_TRUE(isRefused({12'345, 2, 128'000}));
    EXPECT_TRUE(isRefused({0, 2, 128'000}));
    EXPECT_TRUE(isRefused({48'000, 0, 128'000}));
    EXPECT_TRUE(isRefused({48'000, 23, 128'000}));
    EXPECT_TRUE(isRefused({48'000, 2, 0}));
    EXPECT_FALSE(isRefused({48'000, 2, 128'000}));
}

} // namespace
} // namespace glimto
