#include "Progress/RecordingFigures.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

class RecordingFiguresTests : public ::testing::Test {
protected:
    RecordingFigures::Clock::time_point at(std::chrono::nanoseconds time) const { return start + time; }

    const RecordingFigures::Clock::time_point start = RecordingFigures::Clock::now();
    RecordingFigures figures;
};

TEST_F(RecordingFiguresTests, NothingHasHappenedAtFirst)
{
    const auto snapshot = figures.snapshot(at(5s));
    EXPECT_EQ(snapshot.phase, RecordingPhase::starting);
    EXPECT_EQ(snapshot.elapsed, 0ns);
    EXPECT_EQ(snapshot.frames, 0);
    EXPECT_EQ(snapshot.systemLevel, std::nullopt);
    EXPECT_EQ(snapshot.microphoneLevel, std::nullopt);
    EXPECT_EQ(snapshot.upload, std::nullopt);
}

TEST_F(RecordingFiguresTests, TimeRunsWhileTheScreenIsRecorded)
{
    figures.enter(RecordingPhase::recording, at(1s));
    EXPECT_EQ(figures.snapshot(at(3s)).elapsed, 2s);
    figures.enter(RecordingPhase::stopping, at(4s));
    figures.enter(RecordingPhase::uploading, at(5s));
    EXPECT_EQ(figures.snapshot(at(9s)).elapsed, 3s);
    EXPECT_EQ(figures.snapshot(at(9s)).phase, RecordingPhase::uploading);
}

TEST_F(RecordingFiguresTests, ARecordingThatNeverBeganTookNoTime)
{
    figures.enter(RecordingPhase::ended, at(4s));
    EXPECT_EQ(figures.snapshot(at(5s)).elapsed, 0ns);
}

TEST_F(RecordingFiguresTests, WhatIsNotedIsCounted)
{
    figures.noteFrame();
    figures.noteFrame();
    figures.noteDropped();
    figures.noteBytes(10);
    figures.noteBytes(5);
    const auto snapshot = figures.snapshot();
    EXPECT_EQ(snapshot.frames, 2);
    EXPECT_EQ(snapshot.dropped, 1);
    EXPECT_EQ(snapshot.bytes, 15);
}

TEST_F(RecordingFiguresTests, ALevelIsTheLoudestSampleSinceTheSnapshotBefore)
{
    figures.notePeak(AudioMixerSource::system, 0.1F);
    figures.notePeak(AudioMixerSource::system, 0.5F);
    figures.notePeak(AudioMixerSource::system, 0.2F);
    EXPECT_NEAR(*figures.snapshot().systemLevel, -6.02, 0.01);
    figures.notePeak(AudioMixerSource::system, 0.1F);
    EXPECT_NEAR(*figures.snapshot().systemLevel, -20, 0.01);
}

TEST_F(RecordingFiguresTests, LevelsStayBetweenSilenceAndFullScale)
{
    figures.notePeak(AudioMixerSource::microphone, 0);
    EXPECT_EQ(figures.snapshot().microphoneLevel, RecordingFigures::silentDecibels);
    figures.notePeak(AudioMixerSource::microphone, 2);
    EXPECT_EQ(figures.snapshot().microphoneLevel, 0);
    EXPECT_EQ(figures.snapshot().microphoneLevel, RecordingFigures::silentDecibels);
    EXPECT_EQ(figures.snapshot().systemLevel, std::nullopt);
}

TEST_F(RecordingFiguresTests, TheUploadQueueIsWhatWasToldLast)
{
    figures.noteUploadWaiting(3, 300);
    figures.noteUploadSent();
    figures.noteUploadWaiting(2, 200);
    const RecordingSnapshot::UploadQueue queue = {.sentObjects = 1, .waitingObjects = 2, .waitingBytes = 200};
    EXPECT_EQ(figures.snapshot().upload, queue);
}

} // namespace
} // namespace glimto
