#include "CommandLine/Hints.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

Lines hintsFor(const std::vector<std::string>& arguments, const std::string& message)
{
    return argumentHints(arguments, message);
}

Lines optionHints(const std::string& command, const std::string& option)
{
    return hintsFor(
        {command, option}, "Unknown " + command + " option '" + option + "'. Run `glimto-capture help`.");
}

TEST(HintsTests, DistanceCountsTypingMistakes)
{
    EXPECT_EQ(editDistance("", ""), 0U);
    EXPECT_EQ(editDistance("record", "record"), 0U);
    EXPECT_EQ(editDistance("recrod", "record"), 1U);
    EXPECT_EQ(editDistance("recod", "record"), 1U);
    EXPECT_EQ(editDistance("reecord", "record"), 1U);
    EXPECT_EQ(editDistance("tecord", "record"), 1U);
    EXPECT_EQ(editDistance("", "record"), 6U);
}

TEST(HintsTests, ACommandThatIsNearlyRightIsNamed)
{
    const auto hints = [](const std::string& word) {
        return hintsFor({word}, "Unknown command '" + word + "'. Run `glimto-capture help`.");
    };
    EXPECT_EQ(hints("recrod"), Lines{"did you mean `glimto-capture record`?"});
    EXPECT_EQ(hints("screnshot"), Lines{"did you mean `glimto-capture screenshot`?"});
    EXPECT_EQ(hints("halp"), Lines{"did you mean `glimto-capture help`?"});
    EXPECT_EQ(hints("frobnicate"), Lines());
    EXPECT_EQ(hints(""), Lines());
    EXPECT_EQ(hints(std::string(1 << 20, 'x')), Lines());
}

TEST(HintsTests, AnOptionThatIsNearlyRightIsNamed)
{
    EXPECT_EQ(optionHints("record", "--framrate"), Lines{"did you mean `--framerate`?"});
    EXPECT_EQ(optionHints("record", "--overwirte"), Lines{"did you mean `--overwrite`?"});
    EXPECT_EQ(optionHints("screenshot", "--no-watermrk"), Lines{"did you mean `--no-watermark`?"});
    EXPECT_EQ(optionHints("upload", "--api-base-uri"), Lines{"did you mean `--api-base-url`?"});
    EXPECT_EQ(optionHints("record", "--no-watermark"), Lines()); // another command's
}

TEST(HintsTests, AStrayWordIsTakenForAPath)
{
    EXPECT_EQ(optionHints("record", "demo"), Lines{"a path needs its option: glimto-capture record -o demo"});
    EXPECT_EQ(optionHints("screenshot", "my shot.png"),
        Lines{"a path needs its option: glimto-capture screenshot -o 'my shot.png'"});
    EXPECT_EQ(optionHints("recognize-text", "it's"),
        Lines{"a path needs its option: glimto-capture recognize-text --path 'it'\\''s'"});
}

TEST(HintsTests, WhatIsMissingIsShownByExample)
{
    EXPECT_EQ(hintsFor({"screenshot"}, "screenshot requires --output <png>."),
        Lines{"for example: glimto-capture screenshot -o shot.png"});
    EXPECT_EQ(hintsFor({"record", "--until-stopped"}, "--until-stopped requires --stop-file."),
        Lines{"to record until you press Ctrl-C: glimto-capture record -d 86400 -o demo"});
}

TEST(HintsTests, OtherErrorsHaveNone)
{
    EXPECT_EQ(hintsFor({"record"}, "No space left on device"), Lines());
    EXPECT_EQ(hintsFor({}, ""), Lines());
}

TEST(HintsTests, WindowsAreListedByTheirTitles)
{
    const std::string start = "No capturable window\nGLIMTO_CAPTURE_ERROR_JSON=";
    EXPECT_EQ(
        windowHints(start
            + R"({"candidateWindows":[{"windowID":7,"title":"notes"},{"windowID":8},{"windowID":9,"title":"mail"}]})"),
        (Lines{"--window-id 7 is \"notes\"", "--window-id 9 is \"mail\""}));
    EXPECT_EQ(windowHints(start + "{"), Lines());
    EXPECT_EQ(windowHints(start + "[]"), Lines());
    EXPECT_EQ(windowHints("something else"), Lines());
}

TEST(HintsTests, ATakeCanBePlayedAndRepaired)
{
    EXPECT_EQ(playHints("/takes/demo"),
        (Lines{"play it: mpv /takes/demo/segments/playlist.m3u8",
            "one file of it: glimto-take export /takes/demo -o /takes/demo.mp4"}));
    EXPECT_EQ(playHints(std::filesystem::current_path() / "demo").front(),
        "play it: mpv demo/segments/playlist.m3u8");
    EXPECT_EQ(repairHints("/takes/my demo"),
        Lines{
            "what was recorded is kept; this makes a whole take of it: glimto-take repair '/takes/my demo'"});
}

} // namespace
} // namespace glimto
