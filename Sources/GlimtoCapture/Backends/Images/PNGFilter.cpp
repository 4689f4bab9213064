#include "Backends/Images/PNGFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include <libyuv/convert_from_argb.h>
#include <sys/mman.h>

namespace glimto {

namespace {

constexpr std::size_t channels = 3;

// The compiler makes one instruction for 16 bytes of this.
std::uint64_t sumOfDifferences(const std::uint8_t* a, const std::uint8_t* b, std::size_t count)
{
    constexpr std::size_t stretch = 4'096; // its sum fits an int
    std::uint64_t total = 0;
    for (std::size_t start = 0; start < count; start += stretch) {
        const std::size_t end = std::min(count, start + stretch);
        int sum = 0;
        for (std::size_t index = start; index < end; ++index)
            sum += std::abs(a[index] - b[index]);
        total += static_cast<std::uint64_t>(sum);
    }
    return total;
}

// How many bytes differ, but by no more than 8.
std::uint64_t countSmallDifferences(const std::uint8_t* a, const std::uint8_t* b, std::size_t count)
{
    constexpr std::uint8_t largest = 8;
    constexpr std::size_t stretch = 240; // their number fits a byte
    std::uint64_t total = 0;
    for (std::size_t start = 0; start < count; start += stretch) {
        const std::size_t end = std::min(count, start + stretch);
        std::uint8_t sum = 0;
        for (std::size_t index = start; index < end; ++index) {
            const int difference = std::max(a[index], b[index]) - std::min(a[index], b[index]);
            sum = static_cast<std::uint8_t>(sum + (static_cast<std::uint8_t>(difference - 1) < largest));
        }
        total += sum;
    }
    return total;
}

void subtract(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* out, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index)
        out[index] = static_cast<std::uint8_t>(a[index] - b[index]);
}

void writeRow(PNGFilterType filter, std::span<const std::uint8_t> row, std::span<const std::uint8_t> above,
    std::uint8_t* out)
{
    *out++ = static_cast<std::uint8_t>(filter);
    if (filter == PNGFilterType::none) {
        std::memcpy(out, row.data(), row.size());
        return;
    }
    if (filter == PNGFilterType::up) {
        subtract(row.data(), above.data(), out, row.size());
        return;
    }
    std::memcpy(out, row.data(), channels);
    subtract(row.data() + channels, row.data(), out + channels, row.size() - channels);
}

} // namespace

LargeBuffer makeLargeBuffer(std::size_t size)
{
    constexpr std::size_t largePage = std::size_t{2} << 20;
    const bool isLarge = size >= largePage;
    const std::size_t whole = (size + largePage - 1) / largePage * largePage;
    LargeBuffer buffer(
        static_cast<std::uint8_t*>(isLarge ? std::aligned_alloc(largePage, whole) : std::malloc(size)));
    if (!buffer)
        throw std::bad_alloc();
    // Only a wish: without large pages all is as it was.
    if (isLarge)
        ::madvise(buffer.get(), whole, MADV_HUGEPAGE);
    return buffer;
}

PNGFilterType filterForRow(std::span<const std::uint8_t> row, std::span<const std::uint8_t> above)
{
    const auto toAbove = sumOfDifferences(row.data(), above.data(), row.size());
    if (toAbove == 0)
        return PNGFilterType::up;
    const std::size_t count = row.size() - channels;
    const auto toLeft = sumOfDifferences(row.data() + channels, row.data(), count);
    // Letters on one colour: their edges repeat as they are, and differences would hide that. Smooth parts
    // beside them, as a wallpaper's, count for more.
    constexpr std::uint64_t leastEdges = 2'000;
    constexpr std::uint64_t edgesPerSmooth = 256;
    const auto least = std::min(toAbove, toLeft);
    if (least >= leastEdges
        && least >= edgesPerSmooth * countSmallDifferences(row.data() + channels, row.data(), count))
        return PNGFilterType::none;
    return toAbove < toLeft ? PNGFilterType::up : PNGFilterType::sub;
}

PNGRows makeRows(const PixelBuffer& pixels)
{
    const std::size_t rowSize = 1 + channels * static_cast<std::size_t>(pixels.width);
    const std::size_t size = rowSize * static_cast<std::size_t>(pixels.height);
    return {.bytes = makeLargeBuffer(size), .rowSize = rowSize, .size = size};
}

void filterRows(const PixelBuffer& pixels, std::size_t first, std::size_t end, const PNGRows& rows)
{
    const std::size_t rowSize = rows.rowSize - 1;
    std::vector<std::uint8_t> row(rowSize);
    std::vector<std::uint8_t> above(rowSize);
    const std::uint8_t* source = pixels.bytes + first * pixels.bytesPerRow;
    if (first > 0)
        libyuv::ARGBToRAW(source - pixels.bytesPerRow, 0, row.data(), 0, pixels.width, 1);
    std::uint8_t* out = rows.bytes.get() + first * rows.rowSize;
    for (std::size_t y = first; y < end; ++y, source += pixels.bytesPerRow, out += rows.rowSize) {
        // Most of a desktop's rows repeat the one above; the fourth byte of a pixel is mostly the same as
        // well.
        if (y > 0 && std::memcmp(source, source - pixels.bytesPerRow, 4 * rowSize / channels) == 0) {
            *out = static_cast<std::uint8_t>(PNGFilterType::up);
            std::memset(out + 1, 0, rowSize);
            continue;
        }
        std::swap(row, above);
        libyuv::ARGBToRAW(source, 0, row.data(), 0, pixels.width, 1);
        writeRow(filterForRow(row, above), row, above, out);
    }
}

} // namespace glimto
