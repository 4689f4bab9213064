#include "Stills/ClipboardImageWriter.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakePNGCodec.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

const std::string signature = "\x89PNG\r\n\x1A\n";

class ClipboardImageWriterTests : public testing::Test {
protected:
    std::filesystem::path file(const std::string& name, const std::string& contents) const
    {
        std::ofstream(directory.path() / name, std::ios::binary) << contents;
        return directory.path() / name;
    }

    std::string errorOf(const std::filesystem::path& path)
    {
        try {
            writer.write(ClipboardImageOptions{path});
        } catch (const Error& error) {
            return error.what();
        }
        return "";
    }

    static std::string missing(const std::filesystem::path& path)
    {
        return "PNG file does not exist at " + path.string() + ".";
    }

    static std::string unreadable(const std::filesystem::path& path)
    {
        return "clipboard-image requires a readable PNG image at " + path.string() + ".";
    }

    TemporaryDirectory directory;
    FakePNGCodec codec;
    FakePasteboard pasteboard;
    FakeLineOutput standardError;
    ClipboardImageWriter writer{codec, pasteboard, standardError};
};

TEST_F(ClipboardImageWriterTests, PutsTheBytesOfTheFileOnTheClipboard)
{
    const std::string contents = signature + std::string("\0\xff whole", 8);
    const auto path = file("a.png", contents);
    const auto result = writer.write(ClipboardImageOptions{path});
    EXPECT_EQ(result.path, path);
    EXPECT_EQ(result.byteCount, contents.size());
    ASSERT_TRUE(pasteboard.png.has_value());
    EXPECT_EQ(
        std::string(reinterpret_cast<const char*>(pasteboard.png->data()), pasteboard.png->size()), contents);
}

TEST_F(ClipboardImageWriterTests, AFileOfAnotherNameIsReadAsWell)
{
    EXPECT_EQ(writer.write(file("picture", signature + "whole")).byteCount, 13U);
}

TEST_F(ClipboardImageWriterTests, ALinkToAFileIsFollowed)
{
    std::filesystem::create_symlink(file("a.png", signature + "whole"), directory.path() / "link.png");
    EXPECT_EQ(errorOf(directory.path() / "link.png"), "");
}

TEST_F(ClipboardImageWriterTests, APathIsNeeded)
{
    try {
        writer.write(ClipboardImageOptions());
        FAIL() << "nothing was thrown";
    } catch (const CLIError& error) {
        EXPECT_STREQ(error.what(), "clipboard-image requires --path <png>.");
    }
}

TEST_F(ClipboardImageWriterTests, OnlyRegularFilesExist)
{
    const auto pipe = directory.path() / "pipe.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::filesystem::create_symlink(directory.path() / "nowhere", directory.path() / "dangling.png");
    for (const auto& path :
        {directory.path() / "none.png", directory.path(), pipe, std::filesystem::path("/dev/zero"),
            directory.path() / "dangling.png", directory.path() / "none" / "deeper.png"})
        EXPECT_EQ(errorOf(path), missing(path));
    EXPECT_FALSE(pasteboard.png.has_value());
}

TEST_F(ClipboardImageWriterTests, WhatIsNoPNGIsRefusedWithoutDecoding)
{
    for (const auto& path : {file("empty.png", ""), file("short.png", "\x89PNG"),
             file("jpeg.png", "\xff\xd8\xff\xe0 a jpeg that is called png, whole")})
        EXPECT_EQ(errorOf(path), unreadable(path));
    EXPECT_EQ(codec.decodedPictures, 0);
}

TEST_F(ClipboardImageWriterTests, APNGThatCannotBeDecodedIsRefused)
{
    const auto path = file("cut.png", signature + "who");
    EXPECT_EQ(errorOf(path), unreadable(path));
    EXPECT_FALSE(pasteboard.png.has_value());
}

TEST_F(ClipboardImageWriterTests, AFileLargerThanAnyPictureIsNotRead)
{
    const auto path = file("huge.png", signature + "whole");
    std::filesystem::resize_file(path, (std::uintmax_t(1) << 30U) + 1);
    EXPECT_EQ(errorOf(path), unreadable(path));
    EXPECT_EQ(codec.decodedPictures, 0);
}

TEST_F(ClipboardImageWriterTests, AClipboardThatCannotBeHadIsAnError)
{
    pasteboard.obstacle = "Nobody keeps a clipboard here.";
    EXPECT_EQ(
        errorOf(file("a.png", signature + "whole")), "Could not write PNG image data to the clipboard.");
    EXPECT_EQ(standardError.text(), "warning: Nobody keeps a clipboard here.\n");
}

} // namespace
} // namespace glimto
