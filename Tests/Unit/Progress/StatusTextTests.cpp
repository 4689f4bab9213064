#include "Progress/StatusText.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using namespace std::chrono_literals;

RecordingSnapshot recording()
{
    RecordingSnapshot snapshot;
    snapshot.phase = RecordingPhase::recording;
    snapshot.elapsed = 12s;
    snapshot.frames = 375;
    snapshot.bytes = 1'049'000;
    return snapshot;
}

TEST(StatusTextTests, TellsWhatIsRecorded)
{
    EXPECT_EQ(statusText(recording(), 80), "REC 0:12  375 frames  0 dropped  1.0 MB");
}

TEST(StatusTextTests, TellsLevelsAndUploadWhereThereAreSome)
{
    auto snapshot = recording();
    snapshot.systemLevel = -12.4;
    snapshot.microphoneLevel = -120;
    snapshot.upload = {.sentObjects = 4, .waitingObjects = 1, .waitingBytes = 10};
    EXPECT_EQ(statusText(snapshot, 200),
        "REC 0:12  375 frames  0 dropped  1.0 MB  system -12 dB  microphone silent  1 object to upload");
}

TEST(StatusTextTests, TellsHowFarTheUploadIs)
{
    auto snapshot = recording();
    snapshot.phase = RecordingPhase::uploading;
    EXPECT_EQ(statusText(snapshot, 80), "UPLOAD");
    snapshot.upload = {.sentObjects = 4, .waitingObjects = 2, .waitingBytes = 700'000};
    EXPECT_EQ(statusText(snapshot, 80), "UPLOAD 4 of 6 objects  700 kB left");
}

TEST(StatusTextTests, IsEmptyBeforeAndAfter)
{
    auto snapshot = recording();
    snapshot.phase = RecordingPhase::starting;
    EXPECT_EQ(statusText(snapshot, 80), "");
    snapshot.phase = RecordingPhase::ended;
    EXPECT_EQ(statusText(snapshot, 80), "");
}

TEST(StatusTextTests, TheEndIsTold)
{
    auto snapshot = recording();
    snapshot.phase = RecordingPhase::stopping;
    EXPECT_EQ(statusText(snapshot, 80), "END 0:12  375 frames  0 dropped  1.0 MB");
}

TEST(StatusTextTests, NeverFillsTheLine)
{
    EXPECT_EQ(statusText(recording(), 12), "REC 0:12  ");
    EXPECT_EQ(statusText(recording(), 2), "");
    EXPECT_EQ(statusText(recording(), 0), "");
}

TEST(StatusTextTests, TimesAreWrittenAsOnAClock)
{
    auto snapshot = recording();
    snapshot.elapsed = 3599s + 999ms;
    EXPECT_EQ(statusText(snapshot, 14), "REC 59:59  3");
    snapshot.elapsed = 3600s + 61s;
    EXPECT_EQ(statusText(snapshot, 14), "REC 1:01:01 ");
}

TEST(StatusTextTests, BytesAreWrittenInUnitsThatPeopleKnow)
{
    EXPECT_EQ(bytesText(0), "0 kB");
    EXPECT_EQ(bytesText(499), "0 kB");
    EXPECT_EQ(bytesText(812'300), "812 kB");
    EXPECT_EQ(bytesText(1'450'000), "1.5 MB");
    EXPECT_EQ(bytesText(12'040'000'000), "12.0 GB");
}

} // namespace
} // namespace glimto
