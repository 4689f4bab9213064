#include "Progress/ProgressReporter.h"

#include <gtest/gtest.h>

#include "Support/Guarded.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

class FakeSink final : public ProgressSink {
public:
    void show(const RecordingSnapshot& snapshot) override
    {
        shown.change([&](std::vector<RecordingSnapshot>& snapshots) { snapshots.push_back(snapshot); });
    }

    std::size_t count()
    {
        return shown.with([](const auto& snapshots) { return snapshots.size(); });
    }

    Guarded<std::vector<RecordingSnapshot>> shown;
};

class StuckSink final : public ProgressSink {
public:
    void show(const RecordingSnapshot&) override
    {
        isOver.waitFor(30s, [](bool over) { return over; });
    }

    Guarded<bool> isOver{false};
};

class ProgressReporterTests : public ::testing::Test {
protected:
    std::shared_ptr<RecordingFigures> figures = std::make_shared<RecordingFigures>();
    std::shared_ptr<FakeSink> sink = std::make_shared<FakeSink>();
};

TEST_F(ProgressReporterTests, ShowsAgainAndAgain)
{
    const ProgressReporter reporter(figures, {sink}, 1ms);
    EXPECT_TRUE(sink->shown.waitFor(20s, [](const auto& snapshots) { return snapshots.size() >= 3; }));
}

TEST_F(ProgressReporterTests, TheEndIsShownEvenBeforeTheFirstInterval)
{
    figures->noteFrame();
    {
        const ProgressReporter reporter(figures, {sink}, 1h);
    }
    ASSERT_EQ(sink->count(), 1U);
    const auto last = sink->shown.with([](const auto& snapshots) { return snapshots.back(); });
    EXPECT_EQ(last.phase, RecordingPhase::ended);
    EXPECT_EQ(last.frames, 1);
}

TEST_F(ProgressReporterTests, EveryPlaceIsShownTheSame)
{
    const auto other = std::make_shared<FakeSink>();
    figures->notePeak(AudioMixerSource::system, 1);
    {
        const ProgressReporter reporter(figures, {sink, other}, 1h);
    }
    EXPECT_EQ(other->shown.with([](const auto& snapshots) { return snapshots.back().systemLevel; }), 0.0);
    EXPECT_EQ(sink->shown.with([](const auto& snapshots) { return snapshots.back().systemLevel; }), 0.0);
}

TEST_F(ProgressReporterTests, NobodyIsWatchedForWithoutAPlace)
{
    const ProgressReporter reporter(figures, {}, 1ms);
    EXPECT_FALSE(figures->isWatched());
}

TEST_F(ProgressReporterTests, APlaceThatHangsIsLetGoOf)
{
    const auto stuck = std::make_shared<StuckSink>();
    {
        const ProgressReporter reporter(figures, {stuck}, 1ms);
    }
    EXPECT_TRUE(figures->isWatched());
    stuck->isOver.change([](bool& over) { over = true; });
}

} // namespace
} // namespace glimto
