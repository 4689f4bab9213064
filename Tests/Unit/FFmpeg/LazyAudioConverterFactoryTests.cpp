#include "Backends/FFmpeg/Loader/LazyAudioConverterFactory.h"

#include <gtest/gtest.h>

#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(LazyAudioConverterFactoryTests, MissingModuleIsNamed)
{
    LoadableModule module(ffmpegModuleFileName, {"/nonexistent"}, "The media encoder");
    LazyAudioConverterFactory factory(module);
    const AudioFormat input = {44100, 2, AudioSampleType::integer16, AudioLayout::interleaved};
    const AudioFormat output = {48000, 2, AudioSampleType::float32, AudioLayout::planar};
    try {
        factory.makeConverter(input, output, ChannelMapping::downmix);
        FAIL() << "made without a module";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(),
            "The media encoder is not available: glimto-capture-ffmpeg.so is missing beside the program.");
    }
}

} // namespace
} // namespace glimto
