#include "InputEvents/InputEventRecorder.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fakes/FakeEventTap.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/MemoryLimit.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/ProcessWide.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

const std::string refusedWarning = "warning: listen-only CGEventTap not permitted; event track will be empty";
const std::string foundDisabledWarning = "warning: input event tap found disabled at flush; re-enabling";

class InputEventRecorderTests : public testing::Test {
protected:
    std::unique_ptr<InputEventRecorder> makeRecorder(const InputEventRecorder::Limits& limits = {})
    {
        const CaptureGeometry geometry = {.globalFrame = {0, 0, 200, 100},
            .pointScale = 1,
            .capturePixelWidth = 200,
            .capturePixelHeight = 100};
        return std::make_unique<InputEventRecorder>(path, geometry, 1s, factory, standardError, limits);
    }

    void click(std::int64_t nanoseconds)
    {
        const HostTime time(HostClock::duration{nanoseconds});
        tap.deliver({.type = InputEventType::leftMouseDown, .time = time, .globalLocation = {50, 50}});
    }

    std::string written() const
    {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    nlohmann::json document() const { return nlohmann::json::parse(written()); }

    TemporaryDirectory directory;
    std::filesystem::path path = directory.path() / "events.json";
    FakeEventTapFactory factory;
    FakeEventTapState& tap = *factory.tap;
    FakeLineOutput standardError;
    std::unique_ptr<InputEventRecorder> recorder = makeRecorder();
};

TEST_F(InputEventRecorderTests, WritesTheDocumentWhenStopped)
{
    recorder->start();
    click(1'500'000'000);
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(written(),
        R"({"version":1,"clock":{"firstVideoSamplePtsValue":1000000000,)"
        R"("firstVideoSamplePtsTimescale":1000000000,"firstVideoSampleHostTimeNs":1000000000},)"
        R"("display":{"capturePixelWidth":200,"capturePixelHeight":100,"pointScale":1.0},)"
        R"("cursorHidden":true,"events":[{"t":500.0,"k":"down","x":0.25,"y":0.5,"button":0}]})");
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(InputEventRecorderTests, KeepsTheEventsInAPartialFileWhileItRuns)
{
    const auto partial = directory.path() / ".events.partial";
    recorder->start();
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    click(1'500'000'000);
    EXPECT_FALSE(std::filesystem::exists(partial));
    tap.fireTimer();
    EXPECT_TRUE(std::filesystem::exists(partial));
    recorder->stop(CursorInVideo::hidden);
    EXPECT_FALSE(std::filesystem::exists(partial));
    EXPECT_EQ(document()["events"].size(), 1U);
}

TEST_F(InputEventRecorderTests, TheRescueCopyOfAnotherRecordingStays)
{
    const auto partial = directory.path() / ".events.partial";
    std::ofstream(partial) << "of a take that was killed";
    recorder->start();
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    click(1'500'000'000);
    tap.fireTimer();
    recorder->stop(CursorInVideo::hidden);
    recorder.reset();
    std::ifstream stream(partial);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "of a take that was killed");
    EXPECT_EQ(document()["events"].size(), 1U);
}

TEST_F(InputEventRecorderTests, HoursOfEventsTakeNoMemory)
{
    recorder->start();
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    constexpr int rounds = 150;
    constexpr int eventsOfARound = 1000;
    {
        const MemoryLimit limit(4 << 20); // half of what they would take
        for (int round = 0; round < rounds; ++round) {
            for (int index = 0; index < eventsOfARound; ++index)
                click(2'000'000'000 + (round * eventsOfARound + index) * std::int64_t{1'000'000});
            tap.fireTimer();
        }
        click(2'000'000'000'000);
        recorder->stop(CursorInVideo::hidden);
    }
    EXPECT_EQ(standardError.lines(), Lines());
    const std::string text = written();
    std::size_t events = 0;
    for (auto at = text.find(R"({"t":)"); at != std::string::npos; at = text.find(R"({"t":)", at + 1))
        ++events;
    EXPECT_EQ(events, std::size_t{rounds} * eventsOfARound + 1);
    EXPECT_TRUE(nlohmann::json::accept(text));
}

TEST_F(InputEventRecorderTests, LeavesNoPartialFileWhenItIsGivenUp)
{
    recorder->start();
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    click(1'500'000'000);
    tap.fireTimer();
    recorder.reset();
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(InputEventRecorderTests, KeepsThePartialFileWhenTheDocumentCannotBeWritten)
{
    recorder->start();
    recorder->setClockAnchor({1'000'000'000, 1'000'000'000});
    click(1'500'000'000);
    tap.fireTimer();
    std::filesystem::create_directory(path);
    std::ofstream(path / "inTheWay") << "x";
    recorder->stop(CursorInVideo::hidden);
    recorder.reset();
    EXPECT_TRUE(std::filesystem::exists(directory.path() / ".events.partial"));
    EXPECT_EQ(standardError.lines().size(), 1U);
}

TEST_F(InputEventRecorderTests, ListensOnlyToThePointer)
{
    recorder->start();
    click(0);

    EXPECT_EQ(tap.eventMask(), 0x4000FEU);
    EXPECT_EQ(tap.timerPeriod(), std::chrono::nanoseconds(1s));
    EXPECT_TRUE(tap.isEnabled());
    EXPECT_EQ(tap.enables(), 1);
}

TEST_F(InputEventRecorderTests, TheTapLivesOnAThreadOfItsOwn)
{
    std::string name(32, '\0');
    std::size_t stackBytes = 0;
    tap.onMake = [&] {
        pthread_getname_np(pthread_self(), name.data(), name.size());
        pthread_attr_t attributes;
        pthread_getattr_np(pthread_self(), &attributes);
        pthread_attr_getstacksize(&attributes, &stackBytes);
        pthread_attr_destroy(&attributes);
    };
    recorder->start();

    EXPECT_STREQ(name.c_str(), "re.input-events"); // what the system keeps of the name
    EXPECT_GE(stackBytes, 0x80000U);
    EXPECT_LT(stackBytes, 2 * 0x80000U); // sanitizers take some more
}

TEST_F(InputEventRecorderTests, TheCursorMayBeInThePicture)
{
    recorder->stop(CursorInVideo::shown);

    EXPECT_EQ(document()["cursorHidden"], false);
}

TEST_F(InputEventRecorderTests, WithoutAnAnchorTheDocumentHasNoEvents)
{
    recorder->start();
    click(1'000'000);
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(document()["events"], nlohmann::json::array());
    EXPECT_EQ(document()["version"], 1);
}

TEST_F(InputEventRecorderTests, ATapThatIsNotPermittedIsWarnedOfOnceAndLeavesTheTrackEmpty)
{
    tap.isPermitted = false;
    recorder->start();
    recorder->setClockAnchor({0, 1});
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(standardError.lines(), Lines{refusedWarning});
    EXPECT_EQ(document()["events"], nlohmann::json::array());
}

TEST_F(InputEventRecorderTests, ATapThatCannotBeMadeIsOneThatIsNotPermitted)
{
    tap.onMake = [] { throw std::runtime_error("no answer"); };
    recorder->start();
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(standardError.lines(), Lines{refusedWarning});
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(InputEventRecorderTests, ATapThatTheSystemSwitchedOffIsWarnedOfAndEnabledAgain)
{
    recorder->start();
    tap.disable();
    tap.deliver({.type = InputEventType::tapDisabledByTimeout});
    EXPECT_TRUE(tap.isEnabled());
    tap.disable();
    tap.deliver({.type = InputEventType::tapDisabledByUserInput});
    EXPECT_TRUE(tap.isEnabled());

    EXPECT_EQ(standardError.text(),
        "warning: input event tap disabled (timeout); re-enabling\n"
        "warning: input event tap disabled (user input); re-enabling\n");
    recorder->setClockAnchor({0, 1});
    recorder->stop(CursorInVideo::hidden);
    EXPECT_EQ(document()["events"], nlohmann::json::array());
}

TEST_F(InputEventRecorderTests, ATapThatIsEnabledAtTheCheckIsLeftAlone)
{
    recorder->start();
    tap.fireTimer();

    EXPECT_EQ(tap.enables(), 1);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(InputEventRecorderTests, ATapFoundDisabledIsWarnedOfOnceARun)
{
    tap.canBeEnabled = false;
    recorder->start();
    tap.fireTimer();
    tap.fireTimer();
    tap.fireTimer();

    EXPECT_EQ(standardError.lines(), Lines{foundDisabledWarning});
    EXPECT_EQ(tap.enables(), 4);
}

TEST_F(InputEventRecorderTests, ATapFoundDisabledAgainLaterIsWarnedOfAgain)
{
    recorder->start();
    tap.disable();
    tap.fireTimer();
    EXPECT_TRUE(tap.isEnabled());
    tap.fireTimer();
    tap.disable();
    tap.fireTimer();

    EXPECT_EQ(standardError.lines(), (Lines{foundDisabledWarning, foundDisabledWarning}));
}

TEST_F(InputEventRecorderTests, ATapThatWasReenabledAtEachCheckIsOneRunUntilItIsFoundEnabled)
{
    recorder->start();
    tap.disable();
    tap.fireTimer();
    tap.disable();
    tap.fireTimer();

    EXPECT_EQ(standardError.lines(), Lines{foundDisabledWarning});
}

TEST_F(InputEventRecorderTests, StoppingEndsTheTapAndItsThread)
{
    recorder->start();
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(tap.stops(), 1);
    EXPECT_EQ(tap.livingTaps(), 0);
}

TEST_F(InputEventRecorderTests, WhatTheTapStillHoldsWhenItIsStoppedIsRecorded)
{
    recorder->start();
    recorder->setClockAnchor({0, 1});
    click(0);
    tap.eventAtTheEnd = InputEvent{.type = InputEventType::leftMouseUp, .time = HostTime(1ms)};
    recorder->stop(CursorInVideo::hidden);

    const auto events = document()["events"];
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[1]["k"], "up");
}

TEST_F(InputEventRecorderTests, OnlyTheFirstStopWrites)
{
    recorder->start();
    recorder->stop(CursorInVideo::hidden);
    std::filesystem::remove(path);
    recorder->stop(CursorInVideo::shown);

    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(tap.stops(), 1);
}

TEST_F(InputEventRecorderTests, ARecorderThatGoesWithoutAStopEndsTheTapAndWritesNothing)
{
    recorder->start();
    recorder.reset();

    EXPECT_EQ(tap.livingTaps(), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(InputEventRecorderTests, ARecorderThatWasNeverStartedStopsWithAnEmptyTrack)
{
    recorder->setClockAnchor({0, 1});
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(tap.eventMask(), std::nullopt);
    EXPECT_EQ(document()["events"], nlohmann::json::array());
}

TEST_F(InputEventRecorderTests, AFileThatCannotBeWrittenIsAWarning)
{
    path = directory.path() / "gone" / "events.json";
    recorder = makeRecorder();
    recorder->start();
    recorder->stop(CursorInVideo::hidden);

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: failed to write events.json: Could not write " + path.string()
            + ": No such file or directory"});
}

TEST_F(InputEventRecorderTests, TheWaitsForTheTapHaveTheirLimits)
{
    EXPECT_EQ(InputEventRecorder::Limits().start, std::chrono::nanoseconds(2s));
    EXPECT_EQ(InputEventRecorder::Limits().stop, std::chrono::nanoseconds(2s));
}

TEST_F(InputEventRecorderTests, ATapThatHangsWhenItIsMadeIsLetGoOf)
{
    // The thread goes on after the test has let go of it, and then uses these.
    static FakeEventTapFactory lastingFactory;
    static FakeLineOutput lastingError;
    std::promise<void> release;
    lastingFactory.tap->onMake = [released = release.get_future().share()] { released.wait(); };
    const CaptureGeometry geometry = {.globalFrame = {0, 0, 200, 100}};
    recorder = std::make_unique<InputEventRecorder>(path, geometry, 1s, lastingFactory, lastingError,
        InputEventRecorder::Limits{.start = 20ms, .stop = 20ms});
    recorder->start();
    recorder->stop(CursorInVideo::hidden);
    recorder.reset();

    EXPECT_TRUE(isWorkAbandoned());
    EXPECT_EQ(document()["events"], nlohmann::json::array());

    // Once it gets its tap, the thread gives it back instead of listening.
    lastingFactory.tap->isPermitted = false;
    release.set_value();
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (lastingError.lines().empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(lastingError.lines(), Lines{refusedWarning});
}

TEST_F(InputEventRecorderTests, EventsMayComeWhileTheRecorderIsStopped)
{
    recorder->start();
    auto clicking = std::async(std::launch::async, [this] {
        for (std::int64_t at = 0; at < 2000; ++at)
            click(at);
    });
    recorder->setClockAnchor({0, 1});
    recorder->stop(CursorInVideo::hidden);
    clicking.get();

    EXPECT_LE(document()["events"].size(), 2000U);
}

} // namespace
} // namespace glimto
