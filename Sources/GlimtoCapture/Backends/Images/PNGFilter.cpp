#include "Backends/Images/PNGFilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace glimto {

namespace {

constexpr std::size_t channels = 3;

void copyRGB(const std::uint8_t* bgrx, std::span<std::uint8_t> row)
{
    std::uint8_t* rgb = row.data();
    for (std::size_t pixel = 0; pixel < row.size() / channels; ++pixel) {
        rgb[channels * pixel] = bgrx[4 * pixel + 2];
        rgb[channels * pixel + 1] = bgrx[4 * pixel + 1];
        rgb[channels * pixel + 2] = bgrx[4 * pixel];
    }
}

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

void subtract(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* out, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index)
        out[index] = static_cast<std::uint8_t>(a[index] - b[index]);
}

void writeRow(PNGFilterType filter, std::span<const std::uint8_t> row, std::span<const std::uint8_t> above,
    std::uint8_t* out)
{
    *out++ = static_cast<std::uint8_t>(filter);
    if (filter == PNGFilterType::up) {
        subtract(row.data(), above.data(), out, row.size());
        return;
    }
    std::memcpy(out, row.data(), channels);
    subtract(row.data() + channels, row.data(), out + channels, row.size() - channels);
}

} // namespace

PNGFilterType filterForRow(std::span<const std::uint8_t> row, std::span<const std::uint8_t> above)
{
    const auto toAbove = sumOfDifferences(row.data(), above.data(), row.size());
    if (toAbove == 0)
        return PNGFilterType::up;
    const auto toLeft = sumOfDifferences(row.data() + channels, row.data(), row.size() - channels);
    return toAbove < toLeft ? PNGFilterType::up : PNGFilterType::sub;
}

PNGRows filteredRows(const PixelBuffer& pixels)
{
    const std::size_t rowSize = channels * static_cast<std::size_t>(pixels.width);
    const auto height = static_cast<std::size_t>(pixels.height);
    PNGRows rows;
    rows.size = (rowSize + 1) * height;
    // Uninitialised: every byte is written below.
    rows.bytes.reset(new std::uint8_t[rows.size]);
    std::vector<std::uint8_t> row(rowSize);
    std::vector<std::uint8_t> above(rowSize);
    std::uint8_t* out = rows.bytes.get();
    for (std::size_t y = 0; y < height; ++y) {
        copyRGB(pixels.bytes + y * pixels.bytesPerRow, row);
        writeRow(filterForRow(row, above), row, above, out);
        out += rowSize + 1;
        std::swap(row, above);
    }
    return rows;
}

} // namespace glimto
