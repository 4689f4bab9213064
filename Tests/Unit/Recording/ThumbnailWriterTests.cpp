#include "Recording/ThumbnailWriter.h"

#include <fstream>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeFramePicture.h"
#include "Fakes/FakeImageCodec.h"
#include "Fakes/FakeLineOutput.h"
#include "RecordingTestSupport.h"

namespace glimto {
namespace {

using Lines = std::vector<std::string>;

class ThumbnailWriterTests : public ::testing::Test {
protected:
    VideoFrame frameWithPixels(PixelBuffer pixels)
    {
        VideoFrame frame = fakeFrame(0);
        frame.picture = std::make_shared<const MemoryPicture>(std::move(pixels));
        return frame;
    }

    TakeDirectory take;
    std::filesystem::path output = take.path() / "thumbnail.jpg";
    FakeImageCodec codec;
    FakeLineOutput standardError;
    ThumbnailWriter writer{output, codec, standardError};
};

TEST_F(ThumbnailWriterTests, WritesTheFirstFrameInItsFullSize)
{
    writer.captureFirstFrame(fakeFrame(0, 320, 200));
    writer.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines{"thumbnail.jpg"});
    EXPECT_EQ(take.text("thumbnail.jpg"), "\xFF\xD8\xFF\xD9");
    EXPECT_EQ(codec.width, 320);
    EXPECT_EQ(codec.height, 200);
    EXPECT_EQ(codec.lastQuality, 0.82);
    EXPECT_EQ(standardError.lines(), Lines());
}

TEST_F(ThumbnailWriterTests, IgnoresAllLaterFrames)
{
    writer.captureFirstFrame(fakeFrame(0, 320, 200));
    for (int number = 1; number < 100; ++number)
        writer.captureFirstFrame(fakeFrame(number, 640, 400));
    writer.waitUntilWritten();

    EXPECT_EQ(codec.encodedPictures, 1);
    EXPECT_EQ(codec.width, 320);
}

TEST_F(ThumbnailWriterTests, TwoFramesThatRaceGiveOneThumbnail)
{
    const auto frame = fakeFrame(0);
    std::thread other([&] { writer.captureFirstFrame(frame); });
    writer.captureFirstFrame(frame);
    other.join();
    writer.waitUntilWritten();

    EXPECT_EQ(codec.encodedPictures, 1);
}

TEST_F(ThumbnailWriterTests, AFrameWithoutPictureIsNotTheFirstFrame)
{
    VideoFrame empty;
    writer.captureFirstFrame(empty);
    writer.captureFirstFrame(fakeFrame(1));
    writer.waitUntilWritten();

    EXPECT_EQ(codec.encodedPictures, 1);
}

TEST_F(ThumbnailWriterTests, WithoutAFrameTheWaitReturnsAtOnceAndThereIsNoFile)
{
    writer.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines());
}

TEST_F(ThumbnailWriterTests, ReplacesTheThumbnailOfAnEarlierTake)
{
    std::ofstream(output) << "earlier";
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();

    EXPECT_EQ(take.text("thumbnail.jpg"), "\xFF\xD8\xFF\xD9");
}

TEST_F(ThumbnailWriterTests, MakesTheDirectory)
{
    ThumbnailWriter deep(take.path() / "a" / "b" / "thumbnail.jpg", codec, standardError);
    deep.captureFirstFrame(fakeFrame(0));
    deep.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines{"a/b/thumbnail.jpg"});
}

TEST_F(ThumbnailWriterTests, WritesThroughATemporaryFileInTheSameDirectory)
{
    Lines meanwhile;
    codec.beforeEncoding = [&] { meanwhile = take.files(); };
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();

    ASSERT_EQ(meanwhile.size(), 1U);
    EXPECT_TRUE(meanwhile[0].starts_with(".thumbnail-")) << meanwhile[0];
    EXPECT_TRUE(meanwhile[0].ends_with(".jpg")) << meanwhile[0];
    EXPECT_EQ(meanwhile[0].size(), std::string(".thumbnail-").size() + 36 + std::string(".jpg").size());
}

TEST_F(ThumbnailWriterTests, AnEncoderThatFailsIsWarnedOfAndLeavesNoFile)
{
    codec.fails = true;
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: could not finalize thumbnail JPEG"});
    EXPECT_EQ(take.files(), Lines());
}

TEST_F(ThumbnailWriterTests, AFailedThumbnailIsNotTriedAgain)
{
    codec.fails = true;
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();
    codec.fails = false;
    writer.captureFirstFrame(fakeFrame(1));
    writer.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines());
}

TEST_F(ThumbnailWriterTests, AnEmptyFrameIsWarnedOf)
{
    writer.captureFirstFrame(
        frameWithPixels({.width = 0, .height = 20, .bytesPerRow = 0, .bytes = nullptr, .storage = {}}));
    writer.waitUntilWritten();

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: first screen frame had an empty image extent"});
}

TEST_F(ThumbnailWriterTests, AFrameWithoutBytesIsWarnedOf)
{
    writer.captureFirstFrame(
        frameWithPixels({.width = 20, .height = 20, .bytesPerRow = 80, .bytes = nullptr, .storage = {}}));
    writer.waitUntilWritten();

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: Core Image could not render the thumbnail frame"});
}

TEST_F(ThumbnailWriterTests, APictureInGraphicsMemoryIsReadBackOnce)
{
    VideoFrame frame = fakeFrame(0);
    const auto picture = std::make_shared<FakeFramePicture>(makeCanvas(32, 20));
    frame.picture = picture;
    writer.captureFirstFrame(frame);
    writer.captureFirstFrame(frame);
    writer.waitUntilWritten();

    EXPECT_EQ(picture->reads, 1);
    EXPECT_EQ(codec.width, 32);
}

TEST_F(ThumbnailWriterTests, APictureThatCannotBeReadBackIsWarnedOf)
{
    VideoFrame frame = fakeFrame(0);
    const auto picture = std::make_shared<FakeFramePicture>(makeCanvas(32, 20));
    picture->error = std::make_exception_ptr(PlatformError("Fake", 7, "the device is gone"));
    frame.picture = picture;
    writer.captureFirstFrame(frame);
    writer.waitUntilWritten();

    EXPECT_EQ(standardError.lines(), Lines{"warning: thumbnail generation failed: the device is gone"});
    EXPECT_EQ(take.files(), Lines());
}

TEST_F(ThumbnailWriterTests, ATemporaryFileThatCannotBeMadeIsWarnedOf)
{
    ThumbnailWriter elsewhere("/proc/self/thumbnail.jpg", codec, standardError);
    elsewhere.captureFirstFrame(fakeFrame(0));
    elsewhere.waitUntilWritten();

    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: could not create thumbnail JPEG destination"});
}

TEST_F(ThumbnailWriterTests, ADirectoryThatCannotBeMadeIsWarnedOf)
{
    std::ofstream(take.path() / "file") << "in the way";
    ThumbnailWriter elsewhere(take.path() / "file" / "thumbnail.jpg", codec, standardError);
    elsewhere.captureFirstFrame(fakeFrame(0));
    elsewhere.waitUntilWritten();

    ASSERT_EQ(standardError.lines().size(), 1U);
    EXPECT_TRUE(
        standardError.lines()[0].starts_with("warning: thumbnail generation failed: Could not create "));
}

TEST_F(ThumbnailWriterTests, AThumbnailThatCannotBeMovedIntoPlaceLeavesNoTemporaryFile)
{
    std::filesystem::create_directories(output / "in the way");
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines());
    ASSERT_EQ(standardError.lines().size(), 1U);
    EXPECT_TRUE(
        standardError.lines()[0].starts_with("warning: thumbnail generation failed: Could not write "));
}

TEST_F(ThumbnailWriterTests, AThumbnailThatDoesNotFitTheDiskLeavesNoFile)
{
    codec.encoded.assign(100, std::byte(1));
    const FileSizeLimit limit(10);
    writer.captureFirstFrame(fakeFrame(0));
    writer.waitUntilWritten();

    EXPECT_EQ(take.files(), Lines());
    EXPECT_EQ(standardError.lines(),
        Lines{"warning: thumbnail generation failed: could not finalize thumbnail JPEG"});
}

} // namespace
} // namespace glimto
