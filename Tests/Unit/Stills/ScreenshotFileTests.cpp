#include "Stills/ScreenshotFile.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakePNGCodec.h"
#include "Fakes/FakeStillCapture.h"
#include "Fakes/FileSizeLimit.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Support/FileDescriptor.h"

namespace glimto {
namespace {

const std::string whole = "\x89PNG\r\n\x1A\n4x3 whole";

class ScreenshotFileTests : public testing::Test {
protected:
    void write(const std::filesystem::path& target)
    {
        ScreenshotFile(codec, standardError).writePNG(fakePicture(4, 3), target);
    }

    std::string errorOfWrite(const std::filesystem::path& target)
    {
        try {
            write(target);
        } catch (const PlatformError& error) {
            return error.what();
        }
        return "";
    }

    static std::string contents(const std::filesystem::path& target)
    {
        std::ostringstream text;
        text << std::ifstream(target, std::ios::binary).rdbuf();
        return text.str();
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    TemporaryDirectory directory;
    FakePNGCodec codec;
    FakeLineOutput standardError;
    const std::filesystem::path path = directory.path() / "shot.png";
};

TEST_F(ScreenshotFileTests, WritesThePictureAndNothingElse)
{
    write(path);
    EXPECT_EQ(contents(path), whole);
    EXPECT_EQ(files(), std::vector<std::string>{"shot.png"});
    EXPECT_EQ(fileSize(path), static_cast<std::int64_t>(whole.size()));
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(ScreenshotFileTests, MakesTheDirectoriesThatLeadThere)
{
    write(directory.path() / "a/b/shot.png");
    EXPECT_EQ(contents(directory.path() / "a/b/shot.png"), whole);
}

TEST_F(ScreenshotFileTests, ReplacesAnExistingFile)
{
    std::ofstream(path) << "something much longer than the picture that comes";
    write(path);
    EXPECT_EQ(contents(path), whole);
}

TEST_F(ScreenshotFileTests, ReplacesALinkAndNotWhatItPointsTo)
{
    std::ofstream(directory.path() / "other") << "kept";
    std::filesystem::create_symlink(directory.path() / "other", path);
    write(path);
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    EXPECT_EQ(contents(path), whole);
    EXPECT_EQ(contents(directory.path() / "other"), "kept");
}

TEST_F(ScreenshotFileTests, ADirectoryIsNotReplaced)
{
    std::filesystem::create_directory(path);
    EXPECT_EQ(errorOfWrite(path), "Screenshot output path is a directory: " + path.string());
    std::filesystem::create_directory_symlink(path, directory.path() / "link");
    EXPECT_EQ(errorOfWrite(directory.path() / "link"),
        "Screenshot output path is a directory: " + (directory.path() / "link").string());
    EXPECT_EQ(codec.encodedPictures, 0);
}

TEST_F(ScreenshotFileTests, ADeviceIsNotReplaced)
{
    // The number is that of no device, which everybody may make.
    ASSERT_EQ(::mknod(path.c_str(), S_IFCHR | 0600, 0), 0);
    EXPECT_EQ(errorOfWrite(path), "Could not create PNG destination at " + path.string());
    EXPECT_EQ(standardError.text(), "warning: " + path.string() + " is a device, which is not replaced.\n");
    EXPECT_TRUE(std::filesystem::is_character_file(path));
    EXPECT_EQ(files(), std::vector<std::string>{"shot.png"});
}

TEST_F(ScreenshotFileTests, APipeASocketAndLinksToThemAreNotReplaced)
{
    const auto link = directory.path() / "link.png";
    std::filesystem::create_symlink("shot.png", link);
    const auto expectRefused = [&](const std::string& what) {
        for (const auto& name : {path, link}) {
            const std::size_t before = standardError.lines().size();
            EXPECT_EQ(errorOfWrite(name), "Could not create PNG destination at " + name.string());
            ASSERT_EQ(standardError.lines().size(), before + 1);
            EXPECT_EQ(standardError.lines().back(),
                "warning: " + name.string() + " is " + what + ", which is not replaced.");
        }
        EXPECT_TRUE(std::filesystem::is_symlink(link));
        EXPECT_EQ(::unlink(path.c_str()), 0);
    };
    ASSERT_EQ(::mknod(path.c_str(), S_IFIFO | 0600, 0), 0);
    expectRefused("a pipe");
    ASSERT_EQ(::mknod(path.c_str(), S_IFSOCK | 0600, 0), 0);
    expectRefused("a socket");
    std::filesystem::create_symlink("/dev/null", path);
    expectRefused("a device");
}

TEST_F(ScreenshotFileTests, ALinkToAnOpenFileIsNotReplaced)
{
    std::ofstream(directory.path() / "open") << "x";
    const FileDescriptor open(::open((directory.path() / "open").c_str(), O_WRONLY | O_CLOEXEC));
    std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(open.get()), path);
    EXPECT_EQ(errorOfWrite(path), "Could not create PNG destination at " + path.string());
    EXPECT_EQ(contents(directory.path() / "open"), "x");
    EXPECT_EQ(standardError.text(),
        "warning: " + path.string() + " is a file that is open, which is not replaced.\n");
}

TEST_F(ScreenshotFileTests, ALinkToAFileOrToNothingIsReplaced)
{
    const auto target = directory.path() / "target";
    std::ofstream(target) << "x";
    std::filesystem::create_symlink(target, path);
    write(path);
    EXPECT_EQ(contents(target), "x");
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    std::filesystem::remove(path);
    std::filesystem::create_symlink("nowhere", path);
    write(path);
    EXPECT_EQ(contents(path), whole);
}

TEST_F(ScreenshotFileTests, AFileInTheWayOfADirectoryIsAnError)
{
    std::ofstream(directory.path() / "file") << "x";
    const auto blocked = directory.path() / "file" / "deeper" / "shot.png";
    EXPECT_EQ(errorOfWrite(blocked),
        "Could not create directory " + blocked.parent_path().string() + ": Not a directory");
}

TEST_F(ScreenshotFileTests, ANameThatTheFileSystemRefusesIsFoundWhenItIsGiven)
{
    const auto longest = directory.path() / (std::string(251, 'x') + ".png");
    write(longest);
    EXPECT_EQ(contents(longest), whole);
    EXPECT_NE(errorOfWrite(directory.path() / std::string(256, 'x')), "");
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(ScreenshotFileTests, ADestinationThatCannotBeMadeTellsWhereAndWhy)
{
    codec.beforeEncoding = [this] { std::filesystem::remove(directory.path() / "gone"); };
    const auto lost = directory.path() / "gone" / "shot.png";
    EXPECT_EQ(errorOfWrite(lost), "Could not create PNG destination at " + lost.string());
    EXPECT_EQ(
        standardError.text(), "warning: Could not write " + lost.string() + ": No such file or directory\n");
}

TEST_F(ScreenshotFileTests, APictureThatCannotBeEncodedLeavesNothing)
{
    codec.fails = true;
    EXPECT_EQ(errorOfWrite(path), "Could not finalize PNG at " + path.string());
    EXPECT_EQ(standardError.text(), "warning: the picture cannot be encoded\n");
    EXPECT_TRUE(files().empty());
}

TEST_F(ScreenshotFileTests, AFullDiskLeavesWhatWasThere)
{
    std::ofstream(path) << "before";
    std::string message;
    {
        const FileSizeLimit limit(10);
        message = errorOfWrite(path);
    }
    EXPECT_EQ(message, "Could not finalize PNG at " + path.string());
    EXPECT_EQ(standardError.text(), "warning: Could not write " + path.string() + ": File too large\n");
    EXPECT_EQ(contents(path), "before");
    EXPECT_EQ(files(), std::vector<std::string>{"shot.png"});
}

TEST_F(ScreenshotFileTests, TheSizeOfAMissingFileIsAnError)
{
    EXPECT_THROW(fileSize(directory.path() / "none"), PlatformError);
}

} // namespace
} // namespace glimto
