#include "Support/FileBelow.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Support/RegularFile.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;

class FilesBelowTests : public testing::Test {
protected:
    FileBelow file(const std::string& name) const { return {take(), name}; }
    fs::path take() const { return directory.path() / "take"; }

    static void write(const fs::path& path, const std::string& content)
    {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << content;
    }

    std::string read(const std::string& name)
    {
        try {
            return RegularFile::open(file(name), files).readWhole(100);
        } catch (const PlatformError& error) {
            return std::string(error.what()).substr(start.size());
        }
    }

    const TemporaryDirectory directory;
    const std::string start = "Could not read " + (take() / "").string();
    FilesBelow files;
};

TEST_F(FilesBelowTests, FilesOfSeveralDirectoriesAreFound)
{
    write(take() / "a", "1");
    write(take() / "segments/a", "22");
    write(take() / "segments/video/a", "333");
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(read("a"), "1");
        EXPECT_EQ(read("segments/a"), "22");
        EXPECT_EQ(read("segments/video/a"), "333");
        EXPECT_EQ(files.sizeOf(file("segments/video/a")), 3U);
        EXPECT_EQ(files.sizeOf(file("a")), 1U);
        EXPECT_EQ(files.sizeOf({take() / "segments", "a"}), 2U);
    }
    EXPECT_EQ(read("segments/b"), "segments/b: No such file or directory");
    EXPECT_EQ(files.sizeOf(file("segments/b")), std::nullopt);
    EXPECT_EQ(files.sizeOf(file("none/a")), std::nullopt);
    EXPECT_EQ(read("none/a"), "none/a: No such file or directory");
    EXPECT_EQ(read("a"), "1");
}

TEST_F(FilesBelowTests, WhatIsNoRegularFileIsNone)
{
    fs::create_directories(take() / "folder");
    ASSERT_EQ(::mkfifo((take() / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(read("fifo"), "fifo: Invalid argument");
    EXPECT_EQ(read("folder"), "folder: Is a directory");
    for (const char* name : {"fifo", "folder", ".", "", "/"})
        EXPECT_EQ(files.sizeOf(file(name)), std::nullopt) << name;
}

TEST_F(FilesBelowTests, NoLinkBelowTheDirectoryIsFollowed)
{
    write(directory.path() / "elsewhere/secret", "secret");
    fs::create_directories(take());
    fs::create_symlink("../elsewhere/secret", take() / "link");
    fs::create_directory_symlink("../elsewhere", take() / "segments");
    for (const char* name : {"link", "segments/secret"}) {
        EXPECT_EQ(files.sizeOf(file(name)), std::nullopt) << name;
        EXPECT_NE(read(name), "secret") << name;
    }
    EXPECT_EQ(files.sizeOf({take() / "segments", "secret"}), 6U); // a link that was chosen
}

TEST_F(FilesBelowTests, ADirectoryThatIsSwappedMeanwhileLeadsNowhereElse)
{
    write(directory.path() / "elsewhere/a", "secret");
    write(take() / "segments/a", "ours");
    EXPECT_EQ(read("segments/a"), "ours");
    fs::rename(take() / "segments", take() / "moved");
    fs::create_directory_symlink("../elsewhere", take() / "segments");
    EXPECT_EQ(read("segments/a"), "ours");
    EXPECT_EQ(files.sizeOf(file("segments/a")), 4U);
    fs::remove(take() / "moved/a");
    fs::create_symlink("../../elsewhere/a", take() / "moved/a");
    EXPECT_EQ(files.sizeOf(file("segments/a")), std::nullopt);
    EXPECT_NE(read("segments/a"), "secret");
    write(take() / "b", "1");
    EXPECT_EQ(read("b"), "1");
    EXPECT_NE(read("segments/a"), "secret"); // the way is gone anew
}

} // namespace
} // namespace glimto
