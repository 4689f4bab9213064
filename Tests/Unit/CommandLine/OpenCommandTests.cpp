#include "CommandLine/OpenCommand.h"

#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeWorkspace.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class OpenCommandTests : public testing::Test {
protected:
    std::string failure(OpenAction action)
    {
        try {
            runOpenCommand(action, "/takes/a", workspace, {standardOutput, standardError});
        } catch (const CLIError& error) {
            return error.what();
        }
        return "no error";
    }

    FakeWorkspace workspace;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
};

TEST_F(OpenCommandTests, RevealsAFile)
{
    runOpenCommand(OpenAction::revealFile, "/takes/a", workspace, {standardOutput, standardError});
    EXPECT_EQ(workspace.revealed, std::vector<std::filesystem::path>({"/takes/a"}));
    EXPECT_TRUE(workspace.opened.empty());
}

TEST_F(OpenCommandTests, OpensAFile)
{
    runOpenCommand(OpenAction::openFile, "/takes/a", workspace, {standardOutput, standardError});
    EXPECT_EQ(workspace.opened, std::vector<std::filesystem::path>({"/takes/a"}));
    EXPECT_TRUE(workspace.revealed.empty());
}

TEST_F(OpenCommandTests, TellsThatTheToolFailed)
{
    workspace.succeeds = false;
    EXPECT_EQ(failure(OpenAction::revealFile), "Could not reveal file.");
    EXPECT_EQ(failure(OpenAction::openFile), "Could not open file.");
}

TEST_F(OpenCommandTests, GivesTheReasonToAPersonOnly)
{
    workspace.succeeds = false;
    workspace.reason = "xdg-open ended with status 4.";
    failure(OpenAction::openFile);
    EXPECT_EQ(standardError.text(), "");
    runOpenCommandOrWarn(OpenAction::openFile, "/takes/a", workspace, {standardOutput, standardError, true});
    EXPECT_EQ(standardError.text(), "hint: xdg-open ended with status 4.\nWarning: Could not open file.\n");
}

TEST_F(OpenCommandTests, TellsWhyTheToolDidNotStart)
{
    workspace.launchError = "xdg-open is not installed";
    EXPECT_EQ(failure(OpenAction::revealFile), "Could not reveal file: xdg-open is not installed");
    EXPECT_EQ(failure(OpenAction::openFile), "Could not open file: xdg-open is not installed");
}

} // namespace
} // namespace glimto
