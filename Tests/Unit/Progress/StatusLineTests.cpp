#include "Progress/StatusLine.h"

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeTerminal.h"

namespace glimto {
namespace {

constexpr const char* erased = "\r\x1b[J";

class StatusLineTests : public ::testing::Test {
protected:
    StatusLineTests()
    {
        auto owned = std::make_unique<FakeTerminal>();
        terminal = owned.get();
        line = std::make_shared<StatusLine>(std::move(owned));
        lines.onLine = [this](std::string_view text) { terminal->written += std::string(text) + "\n"; };
    }

    void show(std::int64_t frames, RecordingPhase phase = RecordingPhase::recording)
    {
        RecordingSnapshot snapshot;
        snapshot.phase = phase;
        snapshot.frames = frames;
        line->show(snapshot);
    }

    static std::string drawn(const std::string& frames)
    {
        return std::string(erased) + " REC 0:00  " + frames + "  0 dropped  0 kB\r";
    }

    FakeTerminal* terminal = nullptr; // the line's
    std::shared_ptr<StatusLine> line;
    FakeLineOutput lines;
};

TEST_F(StatusLineTests, IsDrawnAgainInTheSamePlace)
{
    show(1);
    show(2);
    EXPECT_EQ(terminal->written, drawn("1 frame") + drawn("2 frames"));
    EXPECT_TRUE(terminal->erases);
}

TEST_F(StatusLineTests, IsErasedAtTheEnd)
{
    show(1);
    show(1, RecordingPhase::ended);
    EXPECT_EQ(terminal->written, drawn("1 frame") + erased);
    EXPECT_FALSE(terminal->erases);
}

TEST_F(StatusLineTests, NothingIsWrittenWhileThereIsNothingToShow)
{
    show(0, RecordingPhase::starting);
    show(0, RecordingPhase::ended);
    EXPECT_EQ(terminal->written, "");
}

TEST_F(StatusLineTests, StepsAsideForEveryLine)
{
    TerminalLineOutput output(lines, line);
    output.writeLine("before");
    show(1);
    output.writeLine("between");
    output.writeDocument("document");
    EXPECT_EQ(terminal->written,
        "before\n" + drawn("1 frame") + erased + "between\n" + drawn("1 frame") + erased + "document\n"
            + drawn("1 frame"));
}

TEST_F(StatusLineTests, LinesPassWithoutAStatusLine)
{
    TerminalLineOutput output(lines, nullptr);
    output.writeLine("line");
    output.writeDocument("document");
    EXPECT_EQ(terminal->written, "line\ndocument\n");
}

TEST_F(StatusLineTests, TheBackgroundDrawsNothing)
{
    terminal->foreground = false;
    show(1);
    EXPECT_EQ(terminal->written, "");
    terminal->foreground = true;
    show(1);
    terminal->foreground = false;
    show(2);
    EXPECT_EQ(terminal->written, drawn("1 frame") + erased);
}

TEST_F(StatusLineTests, FitsTheWidthOfTheMoment)
{
    terminal->columns = 14;
    show(1);
    EXPECT_EQ(terminal->written, std::string(erased) + " REC 0:00  1 \r");
}

TEST_F(StatusLineTests, RecordingIsRedWhereColoursAreWelcome)
{
    terminal->colour = true;
    terminal->columns = 11;
    show(1);
    EXPECT_EQ(terminal->written, std::string(erased) + " \x1b[1;31mREC\x1b[0m 0:00 \r");
}

} // namespace
} // namespace glimto
