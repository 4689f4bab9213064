#include "CommandLine/CLI.h"

#include "CommandLineTestSupport.h"

namespace glimto {
namespace {

class CLITests : public CommandLineTests {
protected:
    bool isHelp(const Arguments& arguments) const
    {
        return std::holds_alternative<HelpCommand>(parse(arguments));
    }

    bool isPermission(const Arguments& arguments) const
    {
        return std::holds_alternative<PermissionJSONCommand>(parse(arguments));
    }
};

TEST_F(CLITests, NoArgumentsAskForHelp)
{
    EXPECT_TRUE(isHelp({}));
}

TEST_F(CLITests, HelpHasThreeNames)
{
    EXPECT_TRUE(isHelp({"help"}));
    EXPECT_TRUE(isHelp({"--help"}));
    EXPECT_TRUE(isHelp({"-h", "anything"}));
}

TEST_F(CLITests, HelpIsFoundAnywhereAmongACommandsArguments)
{
    EXPECT_TRUE(isHelp({"record", "-d", "5", "--help"}));
    EXPECT_TRUE(isHelp({"record", "--output", "-h"}));
    EXPECT_TRUE(isHelp({"record", "--bogus", "-h"}));
    EXPECT_TRUE(isHelp({"windows", "-h"}));
    EXPECT_TRUE(isHelp({"windows-json", "--help"}));
    EXPECT_TRUE(isHelp({"screenshot", "-h"}));
    EXPECT_TRUE(isHelp({"clipboard-image", "-h"}));
    EXPECT_TRUE(isHelp({"recognize-text", "-h"}));
    EXPECT_TRUE(isHelp({"upload", "-h"}));
}

TEST_F(CLITests, PermissionHasThreeNamesAndIgnoresFurtherArguments)
{
    EXPECT_TRUE(isPermission({"permission-json"}));
    EXPECT_TRUE(isPermission({"permissions-json"}));
    EXPECT_TRUE(isPermission({"preflight-json", "--help", "x"}));
}

TEST_F(CLITests, SourcesIgnoresFurtherArguments)
{
    EXPECT_TRUE(std::holds_alternative<SourcesCommand>(parse({"sources"})));
    EXPECT_TRUE(std::holds_alternative<SourcesCommand>(parse({"sources", "--help"})));
}

TEST_F(CLITests, AnUnknownCommandIsNamed)
{
    EXPECT_EQ(failure({"bogus"}), "Unknown command 'bogus'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({"bogus", "--help"}), "Unknown command 'bogus'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({""}), "Unknown command ''. Run `glimto-capture help`.");
}

TEST_F(CLITests, CommandsAreCaseSensitive)
{
    EXPECT_EQ(failure({"Record"}), "Unknown command 'Record'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({"HELP"}), "Unknown command 'HELP'. Run `glimto-capture help`.");
}

TEST_F(CLITests, WindowsAreListedWithEnumerationUnderTwoNames)
{
    EXPECT_TRUE(parsed<WindowListOptions>({"windows"}).includeEnumeration);
    EXPECT_TRUE(parsed<WindowListOptions>({"list-windows"}).includeEnumeration);
}

TEST_F(CLITests, WindowsAreListedWithoutEnumerationUnderTwoNames)
{
    EXPECT_FALSE(parsed<WindowListOptions>({"windows-json"}).includeEnumeration);
    EXPECT_FALSE(parsed<WindowListOptions>({"--list-windows-json"}).includeEnumeration);
}

TEST_F(CLITests, WindowScopeIsVisibleUnlessAllAreAskedFor)
{
    using Scope = ScreenCaptureWindowListScope;
    EXPECT_EQ(parsed<WindowListOptions>({"windows"}).scope, Scope::visible);
    EXPECT_EQ(parsed<WindowListOptions>({"windows", "--all"}).scope, Scope::all);
    EXPECT_EQ(parsed<WindowListOptions>({"windows-json", "--recording-candidates"}).scope, Scope::all);
    EXPECT_EQ(parsed<WindowListOptions>({"windows-json", "--all", "--visible"}).scope, Scope::visible);
}

TEST_F(CLITests, AnUnknownWindowOptionIsNamed)
{
    EXPECT_EQ(
        failure({"windows-json", "--every"}), "Unknown windows option '--every'. Run `glimto-capture help`.");
    EXPECT_EQ(failure({"list-windows", "all"}), "Unknown windows option 'all'. Run `glimto-capture help`.");
}

TEST_F(CLITests, ClipboardImageTakesAPath)
{
    EXPECT_EQ(parsed<ClipboardImageOptions>({"clipboard-image", "--path", "/a/b.png"}).pathURL, "/a/b.png");
    EXPECT_EQ(failure({"clipboard-image"}), "clipboard-image requires --path <png>.");
    EXPECT_EQ(failure({"clipboard-image", "--path"}), "Missing value for --path.");
    EXPECT_EQ(failure({"clipboard-image", "b.png"}),
        "Unknown clipboard-image option 'b.png'. Run `glimto-capture help`.");
}

TEST_F(CLITests, RecognizeTextTakesAPath)
{
    EXPECT_EQ(parsed<TextRecognitionOptions>({"recognize-text", "--path", "b.png"}).pathURL, here("b.png"));
    EXPECT_EQ(failure({"recognize-text"}), "recognize-text requires --path <png>.");
    EXPECT_EQ(
        failure({"recognize-text", "-x"}), "Unknown recognize-text option '-x'. Run `glimto-capture help`.");
}

TEST_F(CLITests, ARepeatedFlagOverwritesTheEarlierOne)
{
    EXPECT_EQ(
        parsed<ClipboardImageOptions>({"clipboard-image", "--path", "/a", "--path", "/b"}).pathURL, "/b");
}

TEST_F(CLITests, PathsBecomeAbsoluteWithoutLookingAtTheDisk)
{
    const auto path = [this](const std::string& text) {
        return parsed<ClipboardImageOptions>({"clipboard-image", "--path", text}).pathURL;
    };
    EXPECT_EQ(path("/no/such/../place/./x.png"), "/no/place/x.png");
    EXPECT_EQ(path("dir/"), here("dir"));
    EXPECT_EQ(path("/"), "/");
    EXPECT_EQ(path(""), std::filesystem::current_path());
    EXPECT_EQ(path("~/x"), here("~/x"));
    EXPECT_EQ(path("-x"), here("-x"));
}

TEST_F(CLITests, UploadTakesAllItsOptions)
{
    environment.variables["GLIMTO_DESKTOP_ACCESS_KEY"] = "secret";
    const auto options = parsed<UploadRecordingOptions>({"upload", "--dir", "/takes/a", "--api-base-url",
        "https://api.example.com/v1", "--recording-id", " rec_1 "});
    EXPECT_EQ(options.outputDirectory, "/takes/a");
    EXPECT_EQ(options.upload.apiBaseURL, "https://api.example.com/v1");
    EXPECT_EQ(options.upload.recordingId, " rec_1 ");
    EXPECT_EQ(options.upload.accessKey, "secret");
    EXPECT_EQ(options.upload.backgroundUploadThresholdSeconds, 3.0);
}

TEST_F(CLITests, UploadSaysWhichOptionIsMissingFirst)
{
    EXPECT_EQ(failure({"upload"}), "upload requires --dir <dir>.");
    EXPECT_EQ(
        failure({"upload", "--dir", "d", "--recording-id", "r"}), "upload requires --api-base-url <url>.");
    EXPECT_EQ(failure({"upload", "--dir", "d", "--api-base-url", "http://host"}),
        "upload requires --recording-id <id>.");
}

TEST_F(CLITests, UploadHasNoAccessKeyOption)
{
    EXPECT_EQ(failure({"upload", "--access-key", "k"}),
        "Unknown upload option '--access-key'. Run `glimto-capture help`.");
}

TEST_F(CLITests, UploadNeedsAWebAddress)
{
    EXPECT_EQ(
        failure({"upload", "--api-base-url", "ftp://host"}), "--api-base-url must be an http or https URL.");
}

} // namespace
} // namespace glimto
