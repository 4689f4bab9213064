#include "Platform/CoverageMask.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace glimto {

namespace {

// From -reach to +reach, with the sum 1.
std::vector<double> gaussian(double deviation, int reach)
{
    std::vector<double> weights;
    double sum = 0;
    for (int offset = -reach; offset <= reach; ++offset) {
        weights.push_back(std::exp(-offset * offset / (2 * deviation * deviation)));
        sum += weights.back();
    }
    for (double& weight : weights)
        weight /= sum;
    return weights;
}

std::uint8_t rounded(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

// `length` values at a distance of `step`, of which those outside of the mask are 0.
void blurLine(const std::uint8_t* in, std::uint8_t* out, std::size_t step, int length,
    const std::vector<double>& weights)
{
    const int reach = static_cast<int>(weights.size()) / 2;
    for (int at = 0; at < length; ++at) {
        double sum = 0;
        for (int offset = std::max(-reach, -at); offset <= std::min(reach, length - 1 - at); ++offset)
            sum += weights[static_cast<std::size_t>(offset + reach)]
                * in[static_cast<std::size_t>(at + offset) * step];
        out[static_cast<std::size_t>(at) * step] = rounded(sum);
    }
}

} // namespace

CoverageMask::CoverageMask(const PixelRect& rect)
    : rect_(rect)
    , values_(static_cast<std::size_t>(rect.width) * static_cast<std::size_t>(rect.height))
{
}

CoverageMask CoverageMask::copied(const PixelRect& rect, const std::uint8_t* bytes, std::size_t bytesPerRow)
{
    CoverageMask mask(rect);
    for (int row = 0; row < rect.height; ++row)
        std::memcpy(mask.values_.data() + mask.index(0, row),
            bytes + static_cast<std::size_t>(row) * bytesPerRow, static_cast<std::size_t>(rect.width));
    return mask;
}

std::size_t CoverageMask::index(int column, int row) const
{
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(rect_.width)
        + static_cast<std::size_t>(column);
}

CoverageMask CoverageMask::moved(int right, int down) const
{
    CoverageMask mask = *this;
    mask.rect_.x += right;
    mask.rect_.y += down;
    return mask;
}

CoverageMask CoverageMask::blurred(double radius) const
{
    if (!(radius > 0))
        return *this;
    const double deviation = radius / 2;
    const int reach = static_cast<int>(std::ceil(3 * deviation));
    const auto weights = gaussian(deviation, reach);
    CoverageMask wide({rect_.x - reach, rect_.y - reach, rect_.width + 2 * reach, rect_.height + 2 * reach});
    for (int row = 0; row < rect_.height; ++row)
        std::memcpy(wide.values_.data() + wide.index(reach, row + reach), values_.data() + index(0, row),
            static_cast<std::size_t>(rect_.width));
    CoverageMask result = wide;
    for (int row = 0; row < wide.rect_.height; ++row)
        blurLine(wide.values_.data() + wide.index(0, row), result.values_.data() + wide.index(0, row), 1,
            wide.rect_.width, weights);
    wide = result;
    for (int column = 0; column < wide.rect_.width; ++column)
        blurLine(wide.values_.data() + column, result.values_.data() + column,
            static_cast<std::size_t>(wide.rect_.width), wide.rect_.height, weights);
    return result;
}

void CoverageMask::paint(const PixelCanvas& canvas, double gray, double alpha) const
{
    const PixelRect visible = intersection(rect_, {0, 0, canvas.width, canvas.height});
    const double color = 255 * gray;
    for (int y = visible.y; y < visible.y + visible.height; ++y) {
        std::uint8_t* row = canvas.bytes + static_cast<std::size_t>(y) * canvas.bytesPerRow;
        for (int x = visible.x; x < visible.x + visible.width; ++x) {
            const int coverage = at(x - rect_.x, y - rect_.y);
            if (coverage == 0)
                continue;
            const double share = alpha * coverage / 255;
            std::uint8_t* pixel = row + 4 * static_cast<std::size_t>(x);
            for (int channel = 0; channel < 3; ++channel)
                pixel[channel] = rounded(pixel[channel] + (color - pixel[channel]) * share);
        }
    }
}

} // namespace glimto
