#include "Backends/Images/ZlibStream.h"

#include <algorithm>
#include <new>
#include <random>
#include <vector>

#include <gtest/gtest.h>
#include <libdeflate.h>

#include "Support/Owned.h"

namespace glimto {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes joined(const std::vector<StreamPiece>& pieces)
{
    Bytes stream;
    for (const StreamPiece& piece : pieces)
        stream.insert(stream.end(), piece.bytes.get(), piece.bytes.get() + piece.size);
    return stream;
}

// Empty when the stream or its checksum is wrong.
Bytes decompressed(const Bytes& stream, std::size_t size)
{
    const Owned<libdeflate_decompressor, libdeflate_free_decompressor> decompressor(
        libdeflate_alloc_decompressor());
    Bytes result(size);
    std::size_t used = 0;
    const auto outcome = libdeflate_zlib_decompress_ex(
        decompressor.get(), stream.data(), stream.size(), result.data(), result.size(), &used, nullptr);
    return outcome == LIBDEFLATE_SUCCESS && used == stream.size() ? result : Bytes();
}

// As the differences between the pixels of a photo with grain: small values are frequent, nothing repeats.
Bytes grain(std::size_t size)
{
    std::minstd_rand random(1);
    std::normal_distribution<double> values(0, 12);
    Bytes data(size);
    for (auto& value : data)
        value = static_cast<std::uint8_t>(static_cast<int>(values(random)));
    return data;
}

// As letters on one colour: what stands there has stood before.
Bytes letters(std::size_t size)
{
    std::minstd_rand random(2);
    std::vector<Bytes> shapes(40);
    for (Bytes& shape : shapes) {
        for (unsigned index = 0; index < 24; ++index)
            shape.push_back(static_cast<std::uint8_t>(random() >> 5));
    }
    Bytes data;
    while (data.size() < size) {
        const Bytes& shape = shapes[random() % shapes.size()];
        data.insert(data.end(), shape.begin(), shape.end());
        data.insert(data.end(), random() % 30, 255);
    }
    data.resize(size);
    return data;
}

Bytes mixed(std::size_t size)
{
    Bytes data = letters(size);
    const Bytes other = grain(size / 2);
    std::ranges::copy(other, data.begin());
    return data;
}

TEST(ZlibStreamTests, PiecesAreOneStream)
{
    constexpr std::size_t size = 2'500'001;
    for (const Bytes& data : {letters(size), grain(size), mixed(size), Bytes(size, 0)}) {
        for (const std::size_t count : {1U, 2U, 3U, 4U, 7U}) {
            const auto pieces = zlibStream({.bytes = data}, count);
            EXPECT_EQ(pieces.size(), count);
            EXPECT_EQ(decompressed(joined(pieces), size), data) << count;
        }
    }
}

TEST(ZlibStreamTests, LittleDataIsAStreamAsWell)
{
    for (const std::size_t size : {1U, 2U, 5U, 100U}) {
        for (const std::size_t count : {1U, 2U, 4U}) {
            const Bytes data = letters(size);
            EXPECT_EQ(decompressed(joined(zlibStream({.bytes = data}, count)), size), data)
                << size << " " << count;
        }
    }
}

TEST(ZlibStreamTests, DividingCostsNextToNothing)
{
    const Bytes data = letters(8'000'000);
    const auto whole = joined(zlibStream({.bytes = data}, 1)).size();
    EXPECT_LT(joined(zlibStream({.bytes = data}, 4)).size(), whole + whole / 50);
}

TEST(ZlibStreamTests, WhatNeverRepeatsIsNotLargerForThat)
{
    const Owned<libdeflate_compressor, libdeflate_free_compressor> compressor(libdeflate_alloc_compressor(2));
    for (const Bytes& data : {letters(3'000'000), grain(3'000'000), mixed(3'000'000)}) {
        Bytes searched(libdeflate_zlib_compress_bound(compressor.get(), data.size()));
        searched.resize(libdeflate_zlib_compress(
            compressor.get(), data.data(), data.size(), searched.data(), searched.size()));
        EXPECT_LT(joined(zlibStream({.bytes = data}, 1)).size(), searched.size() + 100);
    }
}

TEST(ZlibStreamTests, LargeDataIsDividedByItself)
{
    const Bytes data = letters(30'000'000);
    EXPECT_EQ(decompressed(joined(zlibStream({.bytes = data})), data.size()), data);
}

TEST(ZlibStreamTests, PiecesAreWholeRowsThatAreFilledBefore)
{
    const Bytes data = letters(1001 * 37);
    Bytes filled(data.size());
    const RowData rows = {.bytes = filled, .rowSize = 37, .fill = [&](std::size_t first, std::size_t end) {
                              for (std::size_t at = 37 * first; at < 37 * end; ++at)
                                  filled[at] = data[at];
                          }};
    for (const std::size_t count : {1U, 3U, 4U}) {
        std::ranges::fill(filled, std::uint8_t(0));
        EXPECT_EQ(decompressed(joined(zlibStream(rows, count)), data.size()), data) << count;
    }
}

TEST(ZlibStreamTests, FillingThatFailsIsTold)
{
    const Bytes data(100'000);
    const RowData rows = {.bytes = data, .rowSize = 10, .fill = [](std::size_t first, std::size_t) {
                              if (first == 0)
                                  throw std::bad_alloc();
                          }};
    for (const std::size_t count : {1U, 2U})
        EXPECT_THROW(zlibStream(rows, count), std::bad_alloc);
}

} // namespace
} // namespace glimto
