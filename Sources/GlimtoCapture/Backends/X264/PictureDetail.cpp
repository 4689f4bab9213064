#include "Backends/X264/PictureDetail.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace glimto {

namespace {

constexpr int rowStep = 8;

// The prediction from above or from the left, whichever is better, leaves the smaller difference; the
// larger one tells that it is not sure to be chosen.
int detailOfRow(const std::uint8_t* row, const std::uint8_t* above, int width)
{
    int sum = 0;
    for (int x = 1; x < width; ++x) {
        const int across = std::abs(row[x] - row[x - 1]);
        const int down = std::abs(row[x] - above[x]);
        sum += across + down + std::min(across, down);
    }
    return sum;
}

} // namespace

double detailOf(const I420Picture& picture)
{
    double sum = 0;
    for (int y = std::min(rowStep, picture.height() - 1); y < picture.height(); y += rowStep) {
        const std::uint8_t* row = picture.plane(0) + static_cast<std::ptrdiff_t>(y) * picture.stride(0);
        sum += detailOfRow(row, row - picture.stride(0), picture.width());
    }
    return sum * rowStep;
}

} // namespace glimto
