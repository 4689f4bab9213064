#include "Support/AtomicFile.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/FileSizeLimit.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

std::string textOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::span<const std::byte> bytesOf(std::string_view text)
{
    return std::as_bytes(std::span(text.data(), text.size()));
}

class AtomicFileTests : public testing::Test {
protected:
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            result.push_back(entry.path().filename().string());
        std::sort(result.begin(), result.end());
        return result;
    }

    TemporaryDirectory directory;
    std::filesystem::path path = directory.path() / "file.json";
};

TEST_F(AtomicFileTests, AppearsWholeWhenCommitted)
{
    AtomicFile file(path);
    file.write(bytesOf("first "));
    file.write(bytesOf("second"));
    EXPECT_FALSE(std::filesystem::exists(path));
    file.commit();
    EXPECT_EQ(textOf(path), "first second");
    EXPECT_EQ(file.size(), 12U);
    EXPECT_EQ(names(), std::vector<std::string>({"file.json"}));
}

TEST_F(AtomicFileTests, LeavesTheOldFileWhenNotCommitted)
{
    writeFileAtomically(path, "old");
    {
        AtomicFile file(path);
        file.write(bytesOf("new"));
    }
    EXPECT_EQ(textOf(path), "old");
    EXPECT_EQ(names(), std::vector<std::string>({"file.json"}));
}

TEST_F(AtomicFileTests, ReplacesTheOldFile)
{
    writeFileAtomically(path, "old and long");
    writeFileAtomically(path, "new");
    EXPECT_EQ(textOf(path), "new");
}

TEST_F(AtomicFileTests, WritesAnEmptyFile)
{
    writeFileAtomically(path, "");
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(textOf(path), "");
}

TEST_F(AtomicFileTests, ReplacesASymbolicLinkWithoutFollowingIt)
{
    const auto target = directory.path() / "target";
    writeFileAtomically(target, "untouched");
    std::filesystem::create_symlink(target, path);
    writeFileAtomically(path, "new");
    EXPECT_EQ(textOf(target), "untouched");
    EXPECT_FALSE(std::filesystem::is_symlink(path));
}

TEST_F(AtomicFileTests, TheTemporaryFileMayHaveANameOfTheCallersChoice)
{
    const auto temporary = directory.path() / "my.tmp";
    {
        AtomicFile file(FileBelow::of(path), temporary.filename().string());
        file.write(bytesOf("new"));
        EXPECT_EQ(names(), std::vector<std::string>({"my.tmp"}));
        file.finish();
        EXPECT_FALSE(std::filesystem::exists(path));
        file.commit();
    }
    EXPECT_EQ(textOf(path), "new");
    EXPECT_EQ(names(), std::vector<std::string>({"file.json"}));
}

TEST_F(AtomicFileTests, AFileThatIsInTheWayOfTheTemporaryOneIsLeftAlone)
{
    const auto temporary = directory.path() / "my.tmp";
    writeFileAtomically(temporary, "another's");
    EXPECT_THROW(AtomicFile(FileBelow::of(path), temporary.filename().string()), PlatformError);
    EXPECT_EQ(textOf(temporary), "another's");
}

TEST_F(AtomicFileTests, TheUmaskSaysWhoMayReadWhatIsNotPrivate)
{
    const auto modeUnder = [this](mode_t mask, FileReaders readers) {
        const mode_t previous = ::umask(mask);
        writeFileAtomically(FileBelow::of(path), "x", readers);
        ::umask(previous);
        struct stat status = {};
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_mode & 0777U;
    };
    EXPECT_EQ(modeUnder(022, FileReaders::byUmask), 0644U);
    EXPECT_EQ(modeUnder(077, FileReaders::byUmask), 0600U);
    EXPECT_EQ(modeUnder(002, FileReaders::byUmask), 0664U);
    EXPECT_EQ(modeUnder(0, FileReaders::owner), 0600U);
}

TEST_F(AtomicFileTests, LinksBelowTheDirectoryAreNotFollowed)
{
    std::filesystem::create_directory(directory.path() / "elsewhere");
    std::filesystem::create_directory_symlink("elsewhere", directory.path() / "segments");
    EXPECT_THROW(writeFileAtomically(FileBelow{directory.path(), "segments/x"}, "new"), PlatformError);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path() / "elsewhere"));
    writeFileAtomically(directory.path() / "segments" / "x", "new");
    EXPECT_EQ(textOf(directory.path() / "elsewhere" / "x"), "new");
}

TEST_F(AtomicFileTests, TwoOfTheSameNameDoNotMeet)
{
    AtomicFile first(path);
    AtomicFile second(path);
    ASSERT_EQ(names().size(), 2U);
    for (const auto& name : names())
        EXPECT_EQ(fileOfTemporary(name), "file.json");
}

TEST_F(AtomicFileTests, TellsTemporaryFilesFromOthers)
{
    EXPECT_EQ(fileOfTemporary(".a.0123456789abcdef.tmp"), "a");
    for (const char* name : {"", ".tmp", "a.0123456789abcdef.tmp", ".0123456789abcdef.tmp", ".a.1-2.tmp",
             "..0123456789abcdef.tmp", ".a.0123456789abcdeg.tmp", ".a.0123456789abcdef.tmp2",
             ".a-0123456789abcdef.tmp"})
        EXPECT_EQ(fileOfTemporary(name), std::nullopt) << name;
}

TEST_F(AtomicFileTests, ADirectoryThatIsNotThereCannotBeFlushed)
{
    EXPECT_NO_THROW(syncDirectory(directory.path()));
    EXPECT_THROW(syncDirectory(directory.path() / "nowhere"), PlatformError);
}

TEST_F(AtomicFileTests, AFinishedFileGoesWithoutACommit)
{
    {
        AtomicFile file(path);
        file.write(bytesOf("new"));
        file.finish();
    }
    EXPECT_TRUE(names().empty());
}

TEST_F(AtomicFileTests, TellsThePathWhenTheDirectoryIsMissing)
{
    const auto missing = directory.path() / "nowhere" / "file.json";
    try {
        AtomicFile file(missing);
        FAIL() << "made a file in a directory that does not exist";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "POSIX");
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_EQ(
            std::string(error.what()), "Could not write " + missing.string() + ": No such file or directory");
    }
}

TEST_F(AtomicFileTests, LeavesNothingBehindWhenTheDiskTakesNoMore)
{
    {
        const FileSizeLimit limit(10);
        EXPECT_THROW(writeFileAtomically(path, "more than ten bytes"), PlatformError);
    }
    EXPECT_TRUE(names().empty());
}

} // namespace
} // namespace glimto
