#include "Backends/DesktopFiles/DesktopFiles.h"

#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class DesktopFilesTests : public testing::Test {
protected:
    DesktopFilesTests()
        : user(directory.path() / "user")
        , system(directory.path() / "system")
        , files({user, system})
    {
    }

    static void write(
        const std::filesystem::path& path, const std::string& name, const std::string& more = "")
    {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << "[Desktop Entry]\nType=Application\nName=" << name << "\n" << more << "\n";
    }

    TemporaryDirectory directory;
    std::filesystem::path user;
    std::filesystem::path system;
    DesktopFiles files;
};

TEST_F(DesktopFilesTests, FindsAProgramByItsID)
{
    write(system / "org.example.Editor.desktop", "Editor");
    EXPECT_EQ(files.withID("org.example.Editor"), (DesktopApplication{"org.example.Editor", "Editor"}));
    EXPECT_EQ(files.withID("org.example.Viewer"), std::nullopt);
}

TEST_F(DesktopFilesTests, TheUsersFileGoesBeforeTheSystems)
{
    write(user / "editor.desktop", "Mine");
    write(system / "editor.desktop", "Ours");
    EXPECT_EQ(files.withID("editor")->name, "Mine");
}

TEST_F(DesktopFilesTests, AFileThatTheUserHidIsGone)
{
    write(user / "editor.desktop", "Mine", "Hidden=true\nStartupWMClass=Editor");
    write(system / "editor.desktop", "Ours", "StartupWMClass=Editor");
    EXPECT_EQ(files.withID("editor"), std::nullopt);
    EXPECT_EQ(files.withWindowClass("Editor"), std::nullopt);
}

TEST_F(DesktopFilesTests, ADashInAnIDMayStandForAFolder)
{
    write(system / "kde" / "files.desktop", "Files", "StartupWMClass=kfiles");
    EXPECT_EQ(files.withID("kde-files"), (DesktopApplication{"kde-files", "Files"}));
    EXPECT_EQ(files.withWindowClass("kfiles"), (DesktopApplication{"kde-files", "Files"}));
}

TEST_F(DesktopFilesTests, FindsAProgramByTheClassOfItsWindows)
{
    write(system / "debian-term.desktop", "Terminal", "StartupWMClass=XTerm");
    EXPECT_EQ(files.withWindowClass("xterm"), (DesktopApplication{"debian-term", "Terminal"}));
    EXPECT_EQ(files.withWindowClass("other"), std::nullopt);
}

TEST_F(DesktopFilesTests, IDsNeverLeadOutOfTheDirectories)
{
    write(directory.path() / "outside.desktop", "Outside");
    write(system / "inside.desktop", "Inside");
    EXPECT_EQ(files.withID("../outside"), std::nullopt);
    EXPECT_EQ(files.withID("..-outside"), std::nullopt);
    EXPECT_EQ(files.withID((directory.path() / "outside").string()), std::nullopt);
    EXPECT_EQ(files.withID(std::string(10'000, 'x')), std::nullopt);
    EXPECT_EQ(files.withID(""), std::nullopt);
}

TEST_F(DesktopFilesTests, PipesAndFoldersInPlaceOfFilesAreMissingFiles)
{
    std::filesystem::create_directories(system / "folder.desktop");
    ASSERT_EQ(::mkfifo((system / "pipe.desktop").c_str(), 0600), 0);
    EXPECT_EQ(files.withID("folder"), std::nullopt);
    EXPECT_EQ(files.withID("pipe"), std::nullopt);
    EXPECT_EQ(files.withWindowClass("anything"), std::nullopt);
}

TEST_F(DesktopFilesTests, OnlyTheStartOfAHugeFileIsRead)
{
    write(system / "early.desktop", "Early", std::string(1'000'000, '#'));
    std::ofstream(system / "late.desktop")
        << std::string(1'000'000, '\n') << "[Desktop Entry]\nType=Application\nName=L\n";
    EXPECT_EQ(files.withID("early")->name, "Early");
    EXPECT_EQ(files.withID("late"), std::nullopt);
}

TEST_F(DesktopFilesTests, FoldersThatLeadIntoThemselvesEnd)
{
    std::filesystem::create_directories(system);
    std::filesystem::create_directory_symlink(system, system / "loop");
    write(system / "editor.desktop", "Editor", "StartupWMClass=Editor");
    EXPECT_EQ(files.withWindowClass("Editor")->id, "editor");
}

TEST(DesktopFilesDirectoriesTests, RelativeDirectoriesAreIgnored)
{
    ::setenv("XDG_DATA_HOME", "/home/ada/data", 1);
    ::setenv("XDG_DATA_DIRS", "relative:/opt/share::/usr/share", 1);
    EXPECT_THAT(DesktopFiles::standardDirectories(),
        testing::ElementsAre(
            "/home/ada/data/applications", "/opt/share/applications", "/usr/share/applications"));
}

TEST(DesktopFilesDirectoriesTests, MissingVariablesHaveDefaults)
{
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("XDG_DATA_DIRS");
    ::setenv("HOME", "/home/ada", 1);
    EXPECT_THAT(DesktopFiles::standardDirectories(),
        testing::ElementsAre("/home/ada/.local/share/applications", "/usr/local/share/applications",
            "/usr/share/applications"));
}

} // namespace
} // namespace glimto
