#include "Backends/Images/DeflateEnd.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libdeflate.h>

#include "Support/Owned.h"

namespace glimto {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes compressed(const Bytes& data, int level)
{
    const Owned<libdeflate_compressor, libdeflate_free_compressor> compressor(
        libdeflate_alloc_compressor(level));
    Bytes result(libdeflate_deflate_compress_bound(compressor.get(), data.size()));
    result.resize(libdeflate_deflate_compress(
        compressor.get(), data.data(), data.size(), result.data(), result.size()));
    return result;
}

// Empty when it is no whole stream of `size` bytes.
Bytes decompressed(const Bytes& stream, std::size_t size)
{
    const Owned<libdeflate_decompressor, libdeflate_free_decompressor> decompressor(
        libdeflate_alloc_decompressor());
    Bytes result(size);
    std::size_t used = 0;
    const auto outcome = libdeflate_deflate_decompress_ex(
        decompressor.get(), stream.data(), stream.size(), result.data(), result.size(), &used, nullptr);
    return outcome == LIBDEFLATE_SUCCESS && used == stream.size() ? result : Bytes();
}

// Empty when it was refused.
Bytes reopened(Bytes stream)
{
    const std::size_t size = stream.size();
    stream.resize(size + deflateTail, 0xa5);
    stream.resize(reopenedDeflateStream(stream.data(), size));
    return stream;
}

Bytes joined(const Bytes& a, const Bytes& b)
{
    Bytes both = a;
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

Bytes noise(std::size_t size, unsigned seed)
{
    std::minstd_rand random(seed);
    Bytes data(size);
    std::ranges::generate(data, [&] { return static_cast<std::uint8_t>(random() >> 8); });
    return data;
}

// Like letters: some bytes far more often than others, and repetitions of any length and distance.
Bytes text(std::size_t size, unsigned seed)
{
    std::minstd_rand random(seed);
    Bytes data;
    while (data.size() < size) {
        const std::size_t length = random() % 300;
        if (random() % 3 == 0 && data.size() > 300) {
            const std::size_t from = random() % (data.size() - 300);
            for (std::size_t index = 0; index < length; ++index)
                data.push_back(data[from + index]);
        } else {
            for (std::size_t index = 0; index < length; ++index)
                data.push_back(static_cast<std::uint8_t>(random() % (1 + random() % 60)));
        }
    }
    data.resize(size);
    return data;
}

// Whether `first` can be followed by another stream.
void expectContinues(const Bytes& first, int level)
{
    const Bytes second = text(1000, 77);
    const Bytes stream = reopened(compressed(first, level));
    ASSERT_FALSE(stream.empty());
    EXPECT_EQ(decompressed(joined(stream, compressed(second, level)), first.size() + second.size()),
        joined(first, second));
    EXPECT_TRUE(decompressed(stream, first.size()).empty()); // it has no end any more
}

TEST(DeflateEndTests, AStreamCanBeContinuedWhereverItsLastByteEnds)
{
    // The last block ends at each of the eight bits of a byte many times.
    for (unsigned size = 1; size < 200; ++size) {
        SCOPED_TRACE(size);
        expectContinues(text(size, size), 2);
    }
}

TEST(DeflateEndTests, StreamsOfManyBlocks)
{
    for (const int level : {1, 2, 6, 12})
        expectContinues(text(1'500'000, 5), level);
}

TEST(DeflateEndTests, StoredBlocks)
{
    expectContinues(noise(300'000, 3), 2);
    expectContinues(noise(5, 3), 2);
    expectContinues(text(100'000, 3), 0);
}

TEST(DeflateEndTests, OneByteOverAndOver)
{
    expectContinues(Bytes(2'000'000, 0), 2);
    expectContinues(Bytes(1, 9), 2);
    expectContinues(Bytes(), 2);
}

TEST(DeflateEndTests, MixedBlocks)
{
    expectContinues(joined(joined(text(400'000, 1), noise(400'000, 2)), Bytes(400'000, 3)), 2);
}

TEST(DeflateEndTests, ManyStreamsBecomeOne)
{
    Bytes stream;
    Bytes data;
    for (unsigned seed = 1; seed < 20; ++seed) {
        const Bytes part = seed % 5 == 0 ? noise(10'000, seed) : text(10'000, seed);
        data = joined(data, part);
        stream = joined(stream, reopened(compressed(part, 2)));
    }
    stream = joined(stream, compressed(noise(10, 1), 2));
    data = joined(data, noise(10, 1));
    EXPECT_EQ(decompressed(stream, data.size()), data);
}

TEST(DeflateEndTests, WhatIsNoWholeStreamIsRefused)
{
    const Bytes whole = compressed(text(50'000, 4), 2);
    for (const std::size_t size : {std::size_t(0), std::size_t(1), whole.size() / 2, whole.size() - 1})
        EXPECT_TRUE(
            reopened(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).empty());
    EXPECT_TRUE(reopened(joined(whole, {0})).empty());
    EXPECT_TRUE(reopened({7, 0, 0}).empty()); // a type of block that there is not
}

TEST(DeflateEndTests, NoBytesWhateverTheyAreLeadOutside)
{
    for (unsigned seed = 1; seed < 3000; ++seed) {
        Bytes broken = compressed(text(2'000, seed), 2);
        std::minstd_rand random(seed);
        for (int count = 0; count < 4; ++count)
            broken[random() % std::min<std::size_t>(broken.size(), 120)]
                = static_cast<std::uint8_t>(random());
        const std::size_t size = reopened(broken).size();
        EXPECT_LE(size, broken.size() + deflateTail);
        reopened(noise(200, seed));
    }
}

} // namespace
} // namespace glimto
