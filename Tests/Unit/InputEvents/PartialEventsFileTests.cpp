#include "InputEvents/PartialEventsFile.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/FileSizeLimit.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

constexpr std::int64_t second = 1'000'000'000;
const std::string heading
    = R"({"version":1,"clock":{"firstVideoSamplePtsValue":7,)"
      R"("firstVideoSamplePtsTimescale":600,"firstVideoSampleHostTimeNs":1000000000},)"
      R"("display":{"capturePixelWidth":200,"capturePixelHeight":100,"pointScale":1.0}})"
      "\n";

class PartialEventsFileTests : public testing::Test {
protected:
    void click(std::int64_t nanoseconds)
    {
        const HostTime time(HostClock::duration{nanoseconds});
        track.append({.type = InputEventType::leftMouseDown, .time = time, .globalLocation = {50, 50}});
    }

    void setAnchor()
    {
        track.setClockAnchor({.firstVideoSamplePtsValue = 7,
            .firstVideoSamplePtsTimescale = 600,
            .firstVideoSampleHostTimeNs = second});
    }

    std::string written() const
    {
        std::ifstream stream(path);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    TemporaryDirectory directory;
    std::filesystem::path path = PartialEventsFile::pathFor(directory.path() / "events.json");
    InputEventTrack track{{.globalFrame = {0, 0, 200, 100},
        .pointScale = 1,
        .capturePixelWidth = 200,
        .capturePixelHeight = 100}};
    PartialEventsFile file{path};
};

TEST_F(PartialEventsFileTests, IsHiddenBesideTheDocument)
{
    EXPECT_EQ(path, directory.path() / ".events.partial");
}

TEST_F(PartialEventsFileTests, AppearsWithTheFirstEventThatHasItsPlaceInTime)
{
    click(2 * second);
    file.append(track);
    EXPECT_FALSE(std::filesystem::exists(path));
    setAnchor();
    file.append(track);
    EXPECT_EQ(written(),
        heading
            + R"({"t":1000.0,"k":"down","x":0.25,"y":0.5,"button":0})"
              "\n");
}

TEST_F(PartialEventsFileTests, GrowsByTheNewEventsOnly)
{
    setAnchor();
    click(2 * second);
    file.append(track);
    const auto before = written();
    file.append(track);
    EXPECT_EQ(written(), before);
    click(3 * second);
    file.append(track);
    EXPECT_EQ(written(),
        before
            + R"({"t":2000.0,"k":"down","x":0.25,"y":0.5,"button":0})"
              "\n");
}

TEST_F(PartialEventsFileTests, HoldsManyEventsInTheirOrder)
{
    setAnchor();
    std::string expected = heading;
    for (int index = 0; index < 10'000; ++index) {
        click(second * (2 + index));
        expected += R"({"t":)" + std::to_string(1000 * (1 + index))
            + R"(.0,"k":"down","x":0.25,"y":0.5,"button":0})"
              "\n";
    }
    file.append(track);
    EXPECT_EQ(written(), expected);
}

TEST_F(PartialEventsFileTests, LeavesALinkAndWhatItNames)
{
    const auto target = directory.path() / "target";
    std::ofstream(target) << "kept";
    std::filesystem::create_symlink(target, path);
    setAnchor();
    click(2 * second);
    file.append(track);
    file.remove();
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    EXPECT_EQ(std::filesystem::file_size(target), 4U);
    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 1U);
}

TEST_F(PartialEventsFileTests, TakesTheEventsOutOfMemoryAndHandsThemOut)
{
    setAnchor();
    std::string events;
    const auto collect = [&](std::string_view piece) { events += piece; };
    EXPECT_FALSE(file.readEvents(collect));
    click(2 * second);
    click(3 * second);
    file.append(track);
    click(4 * second);
    EXPECT_TRUE(file.readEvents(collect));
    EXPECT_EQ(events,
        R"({"t":1000.0,"k":"down","x":0.25,"y":0.5,"button":0},)"
        R"({"t":2000.0,"k":"down","x":0.25,"y":0.5,"button":0})");
    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 1U);
}

TEST_F(PartialEventsFileTests, KeepsWholeLinesWhenTheDiskTakesNoMore)
{
    setAnchor();
    click(2 * second);
    file.append(track);
    const auto before = written();
    {
        const FileSizeLimit limit(before.size() + 10);
        click(3 * second);
        file.append(track);
    }
    click(4 * second);
    file.append(track);
    EXPECT_EQ(written(), before);
    std::string events;
    EXPECT_TRUE(file.readEvents([&](std::string_view piece) { events += piece; }));
    EXPECT_EQ(events, R"({"t":1000.0,"k":"down","x":0.25,"y":0.5,"button":0})");
    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 2U);
}

TEST_F(PartialEventsFileTests, OfWhichNotEvenTheBeginningCanBeWrittenIsRemoved)
{
    setAnchor();
    click(2 * second);
    {
        const FileSizeLimit limit(10);
        file.append(track);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 1U);
}

TEST_F(PartialEventsFileTests, ThatCannotBeWrittenIsGivenUpInSilence)
{
    PartialEventsFile elsewhere(directory.path() / "missing" / ".events.partial");
    setAnchor();
    click(2 * second);
    elsewhere.append(track);
    std::filesystem::create_directory(directory.path() / "missing");
    click(3 * second);
    elsewhere.append(track);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path() / "missing"));
    EXPECT_EQ(track.finish(CursorInVideo::hidden).events.size(), 2U);
}

} // namespace
} // namespace glimto
