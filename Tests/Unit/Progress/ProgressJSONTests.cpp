#include "Progress/ProgressJSON.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

TEST(ProgressJSONTests, ARecordingWithoutSoundAndUpload)
{
    RecordingSnapshot snapshot;
    snapshot.phase = RecordingPhase::recording;
    snapshot.elapsed = 12500400us;
    snapshot.frames = 375;
    snapshot.dropped = 1;
    snapshot.bytes = 1048576;
    EXPECT_EQ(progressJSON(snapshot),
        R"({"version":1,"phase":"recording","elapsed":12.5,"frames":375,"dropped":1,"bytes":1048576})");
}

TEST(ProgressJSONTests, SoundAndUploadAreAdded)
{
    RecordingSnapshot snapshot;
    snapshot.phase = RecordingPhase::uploading;
    snapshot.systemLevel = -12.3456;
    snapshot.microphoneLevel = -120;
    snapshot.upload = {.sentObjects = 4, .waitingObjects = 2, .waitingBytes = 700};
    EXPECT_EQ(progressJSON(snapshot),
        R"({"version":1,"phase":"uploading","elapsed":0.0,"frames":0,"dropped":0,"bytes":0,)"
        R"("levels":{"systemAudio":-12.3,"microphone":-120.0},)"
        R"("upload":{"sent":4,"waiting":2,"waitingBytes":700}})");
}

TEST(ProgressJSONTests, EveryPhaseHasAWord)
{
    EXPECT_EQ(recordingPhaseName(RecordingPhase::starting), "starting");
    EXPECT_EQ(recordingPhaseName(RecordingPhase::recording), "recording");
    EXPECT_EQ(recordingPhaseName(RecordingPhase::stopping), "stopping");
    EXPECT_EQ(recordingPhaseName(RecordingPhase::uploading), "uploading");
    EXPECT_EQ(recordingPhaseName(RecordingPhase::ended), "ended");
}

} // namespace
} // namespace glimto
