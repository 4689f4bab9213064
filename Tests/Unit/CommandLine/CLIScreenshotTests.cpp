#include "CommandLine/CLI.h"

#include "CommandLineTestSupport.h"

namespace glimto {
namespace {

class CLIScreenshotTests : public CommandLineTests {
protected:
    ScreenshotOptions screenshot(const Arguments& options) const
    {
        Arguments arguments = {"screenshot", "-o", "shot.png"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return parsed<ScreenshotOptions>(arguments);
    }

    std::optional<ScreenshotTarget> target(const std::string& json) const
    {
        return screenshot({"--target-json", json}).target;
    }

    std::string targetFailure(const std::string& json) const
    {
        return failure({"screenshot", "-o", "shot.png", "--target-json", json});
    }

    std::string windowIDsFailure(const std::string& json) const
    {
        return failure({"screenshot", "--include-glimto-window-ids", json});
    }
};

TEST_F(CLIScreenshotTests, TakesTheDisplayUnderTheCursorWithAWatermarkByDefault)
{
    const auto options = screenshot({});
    EXPECT_EQ(options.outputURL, here("shot.png"));
    EXPECT_EQ(options.displayStrategy, ScreenshotDisplayStrategy::cursor);
    EXPECT_EQ(options.target, std::nullopt);
    EXPECT_EQ(options.includedGlimtoWindowIDs, std::nullopt);
    EXPECT_TRUE(options.applyWatermark);
    EXPECT_FALSE(options.stdoutJSON || options.waitForCaptureTrigger || options.copyImage
        || options.openOutput || options.revealOutput);
}

TEST_F(CLIScreenshotTests, HasASwitchForEverything)
{
    const auto options = screenshot({"--stdout-json", "--wait-for-capture-trigger", "--copy-image",
        "--no-watermark", "--open", "--reveal", "--format", "png"});
    EXPECT_TRUE(options.stdoutJSON && options.waitForCaptureTrigger && options.copyImage && options.openOutput
        && options.revealOutput);
    EXPECT_FALSE(options.applyWatermark);
}

TEST_F(CLIScreenshotTests, NeedsAnOutput)
{
    EXPECT_EQ(failure({"screenshot"}), "screenshot requires --output <png>.");
    EXPECT_EQ(failure({"screenshot", "--display", "1", "--display-strategy", "cursor"}),
        "screenshot requires --output <png>.");
    EXPECT_EQ(parsed<ScreenshotOptions>({"screenshot", "--output", "/x.png"}).outputURL, "/x.png");
}

TEST_F(CLIScreenshotTests, NamesTheFlagWithoutAValueAsTyped)
{
    EXPECT_EQ(failure({"screenshot", "-o"}), "Missing value for -o.");
    EXPECT_EQ(failure({"screenshot", "--output"}), "Missing value for --output.");
    EXPECT_EQ(failure({"screenshot", "--display"}), "Missing value for --display.");
}

TEST_F(CLIScreenshotTests, NamesAnUnknownOption)
{
    EXPECT_EQ(
        failure({"screenshot", "--jpeg"}), "Unknown screenshot option '--jpeg'. Run `glimto-capture help`.");
}

TEST_F(CLIScreenshotTests, KnowsOneFormatAndOneStrategy)
{
    EXPECT_EQ(failure({"screenshot", "--format", "PNG"}), "--format currently supports only 'png'.");
    EXPECT_EQ(failure({"screenshot", "--display-strategy", "main"}),
        "--display-strategy currently supports only 'cursor'.");
}

TEST_F(CLIScreenshotTests, TakesADisplayByIndex)
{
    const auto options = screenshot({"--display", "2"});
    EXPECT_EQ(options.target, ScreenshotTarget(DisplayTarget{2}));
    EXPECT_EQ(options.displayStrategy, std::nullopt);
    EXPECT_EQ(failure({"screenshot", "--display", "-1"}), "--display must be 0 or greater.");
    EXPECT_EQ(failure({"screenshot", "--display", "one"}), "Invalid integer 'one' for --display.");
}

TEST_F(CLIScreenshotTests, TakesOnlyOneKindOfTarget)
{
    const std::string message
        = "Use only one screenshot target: --display-strategy, --display, or --target-json.";
    EXPECT_EQ(
        failure({"screenshot", "-o", "shot.png", "--display", "1", "--display-strategy", "cursor"}), message);
    EXPECT_EQ(failure({"screenshot", "-o", "shot.png", "--display-strategy", "cursor", "--target-json",
                  R"({"kind":"display","index":0})"}),
        message);
}

TEST_F(CLIScreenshotTests, TheLastOfDisplayAndTargetWins)
{
    const std::string region = R"({"kind":"region","x":1,"y":2,"width":3,"height":4})";
    EXPECT_EQ(screenshot({"--display", "1", "--target-json", region}).target,
        ScreenshotTarget(CaptureRegion{1, 2, 3, 4}));
    EXPECT_EQ(
        screenshot({"--target-json", region, "--display", "1"}).target, ScreenshotTarget(DisplayTarget{1}));
}

TEST_F(CLIScreenshotTests, TargetMayBeARegionDownToOnePoint)
{
    EXPECT_EQ(target(R"({"kind":"region","x":-10.5,"y":0,"width":1,"height":1.0,"more":[]})"),
        ScreenshotTarget(CaptureRegion{-10.5, 0, 1, 1}));
}

TEST_F(CLIScreenshotTests, TargetRegionNeedsAllNumbers)
{
    EXPECT_EQ(targetFailure(R"({"kind":"region","x":0,"y":0,"width":10})"),
        "--target-json region requires x, y, width, and height.");
    EXPECT_EQ(targetFailure(R"({"kind":"region","x":0,"y":null,"width":10,"height":10})"),
        "--target-json region requires x, y, width, and height.");
}

TEST_F(CLIScreenshotTests, TargetRegionMustNotBeSmallerThanOnePoint)
{
    EXPECT_EQ(targetFailure(R"({"kind":"region","x":0,"y":0,"width":0.5,"height":10})"),
        "--target-json region width and height must be at least 1.");
    EXPECT_EQ(targetFailure(R"({"kind":"region","x":0,"y":0,"width":10,"height":-10})"),
        "--target-json region width and height must be at least 1.");
}

TEST_F(CLIScreenshotTests, TargetMayBeADisplayUnderThreeKeysInOrder)
{
    EXPECT_EQ(target(R"({"kind":"display","index":0})"), ScreenshotTarget(DisplayTarget{0}));
    EXPECT_EQ(target(R"({"kind":"display","displayIndex":1})"), ScreenshotTarget(DisplayTarget{1}));
    EXPECT_EQ(target(R"({"kind":"display","display_index":2.0})"), ScreenshotTarget(DisplayTarget{2}));
    EXPECT_EQ(target(R"({"kind":"display","display_index":3,"displayIndex":2,"index":1})"),
        ScreenshotTarget(DisplayTarget{1}));
}

TEST_F(CLIScreenshotTests, TargetDisplayNeedsAnIndex)
{
    EXPECT_EQ(targetFailure(R"({"kind":"display"})"), "--target-json display requires index 0 or greater.");
    EXPECT_EQ(targetFailure(R"({"kind":"display","index":-1})"),
        "--target-json display requires index 0 or greater.");
    EXPECT_EQ(targetFailure(R"({"kind":"display","index":-1,"displayIndex":1})"),
        "--target-json display requires index 0 or greater.");
}

TEST_F(CLIScreenshotTests, TargetHasOneOfTwoKinds)
{
    EXPECT_EQ(targetFailure("{}"), "--target-json kind must be 'region' or 'display'.");
    EXPECT_EQ(targetFailure(R"({"kind":"window"})"), "--target-json kind must be 'region' or 'display'.");
    EXPECT_EQ(targetFailure(R"({"kind":null})"), "--target-json kind must be 'region' or 'display'.");
}

TEST_F(CLIScreenshotTests, TargetOfTheWrongTypesIsInvalid)
{
    EXPECT_EQ(targetFailure("[1]"), "Invalid JSON for --target-json: the value is not an object.");
    EXPECT_EQ(targetFailure(R"({"kind":5})"), "Invalid JSON for --target-json: \"kind\" is not a string.");
    EXPECT_EQ(targetFailure(R"({"kind":"region","x":"0"})"),
        "Invalid JSON for --target-json: \"x\" is not a number.");
    EXPECT_EQ(targetFailure(R"({"kind":"display","index":1.5})"),
        "Invalid JSON for --target-json: \"index\" is not an integer.");
    EXPECT_EQ(targetFailure(R"({"kind":"display","index":true})"),
        "Invalid JSON for --target-json: \"index\" is not an integer.");
    EXPECT_EQ(targetFailure(R"({"kind":"display","index":30000000000000000000})"),
        "Invalid JSON for --target-json: \"index\" is not an integer.");
}

TEST_F(CLIScreenshotTests, TargetThatIsNoJSONTellsTheParsersReason)
{
    const std::string message = targetFailure("{oops");
    EXPECT_EQ(message.substr(0, 43), "Invalid JSON for --target-json: parse error");
    EXPECT_EQ(message.back(), '.');
    EXPECT_EQ(targetFailure("").substr(0, 32), "Invalid JSON for --target-json: ");
    EXPECT_EQ(
        targetFailure(R"({"kind":"region","x":1e999})").substr(0, 32), "Invalid JSON for --target-json: ");
}

TEST_F(CLIScreenshotTests, IncludesWindowsByID)
{
    EXPECT_EQ(screenshot({"--include-glimto-window-ids", "[1, 4294967295]"}).includedGlimtoWindowIDs,
        std::vector<std::uint32_t>({1, 4294967295}));
    EXPECT_EQ(screenshot({"--include-glimto-window-ids", "[]"}).includedGlimtoWindowIDs,
        std::vector<std::uint32_t>());
}

TEST_F(CLIScreenshotTests, RefusesWindowIDsThatAreNone)
{
    const std::string message
        = "--include-glimto-window-ids requires a JSON array of positive UInt32 window IDs.";
    for (const char* json :
        {"[0]", "[-1]", "[4294967296]", "[1.5]", "[\"1\"]", "[true]", "{}", "1", "[1", ""})
        EXPECT_EQ(windowIDsFailure(json), message) << json;
}

} // namespace
} // namespace glimto
