#include "Backends/Desktop/DesktopWorkspace.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

// Every test has its own tools: PATH holds one directory with the scripts that the test installs.
class DesktopWorkspaceTests : public testing::Test {
protected:
    DesktopWorkspaceTests()
    {
        ::setenv("PATH", directory.path().c_str(), 1);
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        ::unsetenv("XDG_RUNTIME_DIR");
    }

    // A tool that writes its name and arguments, one a line, to the log and then runs `script`.
    void install(const std::string& tool, const std::string& script)
    {
        const auto path = directory.path() / tool;
        std::ofstream(path) << "#!/bin/sh\nprintf '%s\\n' " << tool << " \"$@\" >>" << log() << "\n"
                            << script << "\n";
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    std::filesystem::path log() const { return directory.path() / "log"; }

    std::string logged() const
    {
        std::ostringstream text;
        text << std::ifstream(log()).rdbuf();
        return text.str();
    }

    TemporaryDirectory directory;
    DesktopWorkspace workspace;
};

TEST_F(DesktopWorkspaceTests, OpensAFileByItsAbsolutePath)
{
    install("xdg-open", "exit 0");
    EXPECT_TRUE(workspace.openFile("/tmp/a b.png"));
    EXPECT_EQ(logged(), "xdg-open\n/tmp/a b.png\n");
}

TEST_F(DesktopWorkspaceTests, ARelativePathIsNeverTakenForAnOption)
{
    install("xdg-open", "exit 0");
    EXPECT_TRUE(workspace.openFile("-x.png"));
    EXPECT_EQ(logged(), "xdg-open\n" + (std::filesystem::current_path() / "-x.png").string() + "\n");
}

TEST_F(DesktopWorkspaceTests, AToolThatFailsIsNoSuccessAndHasAReason)
{
    install("xdg-open", "exit 3");
    const auto result = workspace.openFile("/tmp/a.png");
    EXPECT_FALSE(result);
    EXPECT_EQ(result.reason, "xdg-open ended with status 3: no program that could show it was found.");
}

TEST_F(DesktopWorkspaceTests, AMissingToolIsAnError)
{
    try {
        workspace.openFile("/tmp/a.png");
        FAIL();
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "xdg-open is not installed.");
        EXPECT_EQ(error.code(), ENOENT);
    }
}

TEST_F(DesktopWorkspaceTests, AProgramThatStaysOpenIsLeftRunning)
{
    install("xdg-open", "exec /bin/sleep 5");
    EXPECT_TRUE(DesktopWorkspace(std::chrono::milliseconds(50)).openFile("/tmp/a.png"));
}

TEST_F(DesktopWorkspaceTests, TheToolHasNoneOfOurStreams)
{
    install("xdg-open",
        "streams=$(/usr/bin/readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\necho \"$streams\" >>"
            + log().string());
    EXPECT_TRUE(workspace.openFile("/tmp/a.png"));
    EXPECT_EQ(logged(), "xdg-open\n/tmp/a.png\n/dev/null\n/dev/null\n/dev/null\n");
}

TEST_F(DesktopWorkspaceTests, WithoutASessionBusTheFolderIsOpened)
{
    install("xdg-open", "exit 0");
    install("gdbus", "exit 0");
    EXPECT_TRUE(workspace.revealFile("/tmp/take/a.png"));
    EXPECT_EQ(logged(), "xdg-open\n/tmp/take\n");
}

TEST_F(DesktopWorkspaceTests, AFolderThatIsRevealedIsOpenedItself)
{
    install("xdg-open", "exit 0");
    EXPECT_TRUE(workspace.revealFile(directory.path() / ""));
    EXPECT_EQ(logged(), "xdg-open\n" + directory.path().string() + "\n");
}

TEST_F(DesktopWorkspaceTests, TheFileManagerShowsTheItem)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    install("gdbus", "exit 0");
    EXPECT_TRUE(workspace.revealFile("/tmp/a 'b'.png"));
    EXPECT_EQ(logged(),
        "gdbus\ncall\n--session\n--dest\norg.freedesktop.FileManager1\n--object-path\n/org/freedesktop/"
        "FileManager1\n"
        "--method\norg.freedesktop.FileManager1.ShowItems\n['file:///tmp/a%20%27b%27.png']\n\n");
}

TEST_F(DesktopWorkspaceTests, TheOtherBusToolIsUsedWhenOneIsMissing)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    install("dbus-send", "exit 0");
    EXPECT_TRUE(workspace.revealFile("/tmp/a.png"));
    EXPECT_EQ(logged(),
        "dbus-send\n--session\n--print-reply\n--dest=org.freedesktop.FileManager1\n/org/freedesktop/"
        "FileManager1\n"
        "org.freedesktop.FileManager1.ShowItems\narray:string:file:///tmp/a.png\nstring:\n");
}

TEST_F(DesktopWorkspaceTests, WithoutAFileManagerTheFolderIsOpened)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    install("gdbus", "exit 1");
    install("xdg-open", "exit 0");
    EXPECT_TRUE(workspace.revealFile("/tmp/take/a.png"));
    EXPECT_TRUE(logged().ends_with("xdg-open\n/tmp/take\n"));
}

TEST_F(DesktopWorkspaceTests, AFileManagerThatDoesNotAnswerIsGivenUp)
{
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    install("gdbus", "exec /bin/sleep 60");
    install("xdg-open", "exit 0");
    EXPECT_TRUE(DesktopWorkspace(std::chrono::milliseconds(300)).revealFile("/tmp/take/a.png"));
    EXPECT_TRUE(logged().ends_with("xdg-open\n/tmp/take\n"));
}

} // namespace
} // namespace glimto
