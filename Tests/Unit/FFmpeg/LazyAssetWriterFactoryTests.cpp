#include "Backends/FFmpeg/Loader/LazyAssetWriterFactory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class NullDelegate final : public AssetWriterDelegate {
public:
    void didOutputInitializationSegment(std::span<const std::byte>) override { }
    void didOutputSegmentData(std::span<const std::byte>) override { }
    void didFinishSegment(const SegmentReport&) override { }
};

std::string failureOf(LazyAssetWriterFactory& factory)
{
    NullDelegate delegate;
    try {
        factory.makeVideoWriter({}, MediaTime{4, 1}, delegate);
    } catch (const PlatformError& error) {
        return error.what();
    }
    return "no failure";
}

TEST(LazyAssetWriterFactoryTests, MissingModuleIsNamed)
{
    LoadableModule module(ffmpegModuleFileName, {"/nonexistent"}, "The media encoder");
    LazyAssetWriterFactory factory(module);
    EXPECT_EQ(failureOf(factory),
        "The media encoder is not available: glimto-capture-ffmpeg.so is missing beside the program.");
}

TEST(LazyAssetWriterFactoryTests, ModuleThatCannotBeLoadedIsReportedWithTheLoadersWords)
{
    const auto directory = std::filesystem::path(testing::TempDir()) / "lazy-asset-writer-factory";
    std::filesystem::create_directories(directory);
    writeFileAtomically(directory / "glimto-capture-ffmpeg.so", std::string_view("not a library"));
    LoadableModule module(ffmpegModuleFileName, {directory}, "The media encoder");
    LazyAssetWriterFactory factory(module);
    EXPECT_THAT(failureOf(factory), testing::HasSubstr("glimto-capture-ffmpeg.so"));
    EXPECT_THAT(failureOf(factory), testing::StartsWith("The media encoder is not available: "));
    std::filesystem::remove_all(directory);
}

} // namespace
} // namespace glimto
