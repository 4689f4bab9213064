#include "Backends/Images/DeflatePNGCodec.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "Backends/Images/TurboImageCodec.h"
#include "PNGSamples.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

// A picture whose rows are longer than its pixels, with something in every fourth byte.
struct Picture {
    Picture(int pictureWidth, int pictureHeight, unsigned seed)
        : width(pictureWidth)
        , height(pictureHeight)
        , bytesPerRow(4 * static_cast<std::size_t>(width) + 12)
        , bytes(bytesPerRow * static_cast<std::size_t>(height))
    {
        // Flat rows, gradients and noise, which want different filters.
        std::minstd_rand random(seed);
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            const std::size_t kind = at / bytesPerRow % 4;
            const auto value = kind == 0 ? 77 : kind == 3 ? random() : at % bytesPerRow * kind;
            bytes[at] = static_cast<std::uint8_t>(value);
        }
    }

    PixelBuffer pixels() const { return {width, height, bytesPerRow, bytes.data(), nullptr}; }

    int width;
    int height;
    std::size_t bytesPerRow;
    std::vector<std::uint8_t> bytes;
};

class DeflatePNGCodecTests : public testing::Test {
protected:
    // The decoded picture as RGB bytes; empty when it was refused.
    std::vector<std::uint8_t> decodedRGB(const std::vector<std::byte>& file)
    {
        const auto pixels = codec.decode(file);
        return pixels ? rgbOf(*pixels) : std::vector<std::uint8_t>();
    }

    std::vector<std::uint8_t> decodedRGB(const PNGSample& sample) { return decodedRGB(pngFile(sample)); }

    // A file of our own that says it is larger than it is.
    std::vector<std::byte> fileThatDeclares(int width, int height)
    {
        auto file = pngFile({.width = width,
            .height = 1,
            .bitDepth = 1,
            .colorType = 0,
            .rows = std::vector<std::uint8_t>(static_cast<std::size_t>(width + 7) / 8)});
        return withHeight(std::move(file), height);
    }

    static std::vector<std::byte> withHeight(std::vector<std::byte> file, int height);

    DeflatePNGCodec codec;
};

std::uint32_t checksum(const std::byte* bytes, std::size_t count)
{
    std::uint32_t value = 0xffffffff;
    for (std::size_t index = 0; index < count; ++index) {
        value ^= static_cast<std::uint32_t>(bytes[index]);
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xedb88320 : 0);
    }
    return ~value;
}

void putNumber(std::vector<std::byte>& file, std::size_t at, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        file[at++] = static_cast<std::byte>(value >> shift);
}

std::vector<std::byte> DeflatePNGCodecTests::withHeight(std::vector<std::byte> file, int height)
{
    const std::size_t header = chunkOffset(file, "IHDR") + 4;
    putNumber(file, header + 8, static_cast<std::uint32_t>(height));
    putNumber(file, header + 17, checksum(file.data() + header, 17));
    return file;
}

TEST_F(DeflatePNGCodecTests, AnotherReaderGetsEveryPixel)
{
    for (const auto& [width, height] : {std::pair(1, 1), {1, 40}, {40, 1}, {37, 23}, {1921, 65}}) {
        const Picture picture(width, height, 1);
        int readWidth = 0;
        int readHeight = 0;
        const auto read = rgbReadByReference(codec.encode(picture.pixels()), readWidth, readHeight);
        EXPECT_EQ(std::pair(readWidth, readHeight), std::pair(width, height));
        EXPECT_EQ(read, rgbOf(picture.pixels())) << width << "x" << height;
    }
}

TEST_F(DeflatePNGCodecTests, ReadsWhatItWrote)
{
    const Picture picture(301, 77, 2);
    EXPECT_EQ(decodedRGB(codec.encode(picture.pixels())), rgbOf(picture.pixels()));
}

TEST_F(DeflatePNGCodecTests, WritesEightBitRGB)
{
    const auto file = codec.encode(Picture(3, 2, 3).pixels());
    const std::vector<std::byte> kind(file.begin() + 24, file.begin() + 29);
    EXPECT_EQ(kind, (std::vector{std::byte{8}, std::byte{2}, std::byte{0}, std::byte{0}, std::byte{0}}));
}

TEST_F(DeflatePNGCodecTests, TheUndefinedByteOfAPixelChangesNothing)
{
    Picture picture(20, 5, 4);
    const auto file = codec.encode(picture.pixels());
    for (std::size_t at = 3; at < picture.bytes.size(); at += 4)
        picture.bytes[at] = static_cast<std::uint8_t>(~picture.bytes[at]);
    EXPECT_EQ(codec.encode(picture.pixels()), file);
}

TEST_F(DeflatePNGCodecTests, RepeatedRowsCostNearlyNothing)
{
    Picture picture(1000, 400, 5);
    for (std::size_t row = 1; row < 400; ++row)
        std::memcpy(picture.bytes.data() + row * picture.bytesPerRow,
            picture.bytes.data() + 3 * picture.bytesPerRow, picture.bytesPerRow);
    EXPECT_LT(codec.encode(picture.pixels()).size(), 12'000u);
}

TEST_F(DeflatePNGCodecTests, AnEmptyPictureIsNotEncoded)
{
    EXPECT_THROW(codec.encode({0, 10, 0, nullptr, nullptr}), PlatformError);
    EXPECT_THROW(codec.encode({10, 0, 40, nullptr, nullptr}), PlatformError);
}

TEST_F(DeflatePNGCodecTests, ReadsEveryDepthOfGray)
{
    using Bytes = std::vector<std::uint8_t>;
    EXPECT_EQ(decodedRGB({.width = 2, .bitDepth = 1, .colorType = 0, .rows = {0x40}}),
        (Bytes{0, 0, 0, 255, 255, 255}));
    EXPECT_EQ(decodedRGB({.width = 2, .bitDepth = 2, .colorType = 0, .rows = {0x60}}),
        (Bytes{85, 85, 85, 170, 170, 170}));
    EXPECT_EQ(decodedRGB({.width = 2, .bitDepth = 4, .colorType = 0, .rows = {0x1e}}),
        (Bytes{17, 17, 17, 238, 238, 238}));
    EXPECT_EQ(decodedRGB({.width = 2, .bitDepth = 8, .colorType = 0, .rows = {9, 200}}),
        (Bytes{9, 9, 9, 200, 200, 200}));
    EXPECT_EQ(decodedRGB({.width = 2, .bitDepth = 16, .colorType = 0, .rows = {9, 9, 200, 200}}),
        (Bytes{9, 9, 9, 200, 200, 200}));
}

TEST_F(DeflatePNGCodecTests, ReadsEveryDepthOfColors)
{
    using Bytes = std::vector<std::uint8_t>;
    EXPECT_EQ(decodedRGB({.bitDepth = 8, .colorType = 2, .rows = {1, 2, 3}}), (Bytes{1, 2, 3}));
    EXPECT_EQ(decodedRGB({.bitDepth = 16, .colorType = 2, .rows = {1, 1, 2, 2, 3, 3}}), (Bytes{1, 2, 3}));
    const Bytes palette = {10, 20, 30, 40, 50, 60};
    const Bytes both = {10, 20, 30, 40, 50, 60};
    for (const auto& [depth, row] : {std::pair(1, 0x40), {2, 0x10}, {4, 0x01}}) {
        EXPECT_EQ(decodedRGB({.width = 2,
                      .bitDepth = depth,
                      .colorType = 3,
                      .rows = {static_cast<std::uint8_t>(row)},
                      .palette = palette}),
            both)
            << depth;
    }
    EXPECT_EQ(
        decodedRGB({.width = 2, .bitDepth = 8, .colorType = 3, .rows = {0, 1}, .palette = palette}), both);
}

TEST_F(DeflatePNGCodecTests, TransparencyShowsWhite)
{
    using Bytes = std::vector<std::uint8_t>;
    EXPECT_EQ(decodedRGB({.width = 3, .colorType = 6, .rows = {9, 9, 9, 0, 0, 100, 200, 128, 7, 8, 9, 255}}),
        (Bytes{255, 255, 255, 127, 177, 227, 7, 8, 9}));
    EXPECT_EQ(decodedRGB({.bitDepth = 16, .colorType = 6, .rows = {0, 0, 100, 100, 200, 200, 128, 128}}),
        (Bytes{127, 177, 227}));
    EXPECT_EQ(decodedRGB({.width = 2, .colorType = 4, .rows = {0, 128, 50, 0}}),
        (Bytes{127, 127, 127, 255, 255, 255}));
    EXPECT_EQ(decodedRGB({.width = 2,
                  .bitDepth = 8,
                  .colorType = 3,
                  .rows = {0, 1},
                  .palette = {10, 20, 30, 40, 50, 60},
                  .paletteAlpha = {0}}),
        (Bytes{255, 255, 255, 40, 50, 60}));
    EXPECT_EQ(
        decodedRGB({.width = 2, .colorType = 2, .rows = {1, 2, 3, 4, 5, 6}, .transparentColor = {1, 2, 3}}),
        (Bytes{255, 255, 255, 4, 5, 6}));
    EXPECT_EQ(decodedRGB({.width = 2, .colorType = 0, .rows = {1, 2}, .transparentColor = {2}}),
        (Bytes{1, 1, 1, 255, 255, 255}));
}

TEST_F(DeflatePNGCodecTests, ReadsInterlacedPictures)
{
    const Picture picture(29, 31, 6);
    const auto rgb = rgbOf(picture.pixels());
    EXPECT_EQ(decodedRGB({.width = 29, .height = 31, .isInterlaced = true, .rows = rgb}), rgb);
}

TEST_F(DeflatePNGCodecTests, RefusesAFileThatIsCutOffAnywhere)
{
    const auto file = codec.encode(Picture(20, 20, 7).pixels());
    for (std::size_t length = 0; length < file.size(); ++length)
        EXPECT_EQ(codec.decode(std::span(file).first(length)), nullptr) << length << " of " << file.size();
}

TEST_F(DeflatePNGCodecTests, RefusesADamagedByteInThePicture)
{
    const auto file = codec.encode(Picture(20, 20, 8).pixels());
    for (std::size_t at = 0; at < file.size(); ++at) {
        auto damaged = file;
        damaged[at] ^= std::byte{0x10};
        EXPECT_EQ(codec.decode(damaged), nullptr) << at << " of " << file.size();
    }
}

TEST_F(DeflatePNGCodecTests, WhatFollowsThePictureIsIgnored)
{
    const Picture picture(20, 20, 9);
    auto file = codec.encode(picture.pixels());
    file.insert(file.end(), 1000, std::byte{0x55});
    EXPECT_EQ(decodedRGB(file), rgbOf(picture.pixels()));
}

TEST_F(DeflatePNGCodecTests, RefusesOtherKindsOfFiles)
{
    const Picture picture(20, 20, 10);
    EXPECT_EQ(codec.decode(TurboImageCodec().encodeJPEG(picture.pixels(), 0.8)), nullptr);
    const std::string text = "This is no picture.";
    EXPECT_EQ(codec.decode(std::as_bytes(std::span(text))), nullptr);
    EXPECT_EQ(codec.decode({}), nullptr);
}

TEST_F(DeflatePNGCodecTests, TooLargePicturesAreRefused)
{
    EXPECT_EQ(codec.decode(fileThatDeclares(60'000, 60'000)), nullptr);
    EXPECT_EQ(codec.decode(fileThatDeclares(PNGCodec::largestDecodedSide + 1, 1)), nullptr);
    EXPECT_EQ(codec.decode(fileThatDeclares(20'000, 20'000)), nullptr);
}

TEST_F(DeflatePNGCodecTests, TheLongestSideIsRead)
{
    const auto pixels = codec.decode(fileThatDeclares(PNGCodec::largestDecodedSide, 1));
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(pixels->width, PNGCodec::largestDecodedSide);
}

// Declares 144 million pixels, which are 576 MB, in some hundred bytes.
TEST_F(DeflatePNGCodecTests, AShortFileThatDeclaresALargePictureCostsNoMemory)
{
    const auto file = fileThatDeclares(12'000, 12'000);
    rusage before{};
    rusage after{};
    ::getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(codec.decode(file), nullptr);
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 50'000); // kB
}

TEST_F(DeflatePNGCodecTests, NothingIsWrittenToStandardErrorForABadFile)
{
    testing::internal::CaptureStderr();
    auto file = codec.encode(Picture(20, 20, 11).pixels());
    file[chunkOffset(file, "IDAT") + 20] ^= std::byte{1};
    EXPECT_EQ(codec.decode(file), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace glimto
