#include "picture/Luma.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace glimto {

namespace {

constexpr int window = 8;
constexpr int windowStep = 4;
constexpr int sharp = 48; // from one sample to the next
constexpr int sharpSteps = 4; // a window with so many of them has edges

double structureOfWindow(const std::uint8_t* first, const std::uint8_t* second, int stride)
{
    int sumFirst = 0;
    int sumSecond = 0;
    int squares = 0;
    int products = 0;
    for (int y = 0; y < window; ++y) {
        for (int x = 0; x < window; ++x) {
            const int a = first[y * stride + x];
            const int b = second[y * stride + x];
            sumFirst += a;
            sumSecond += b;
            squares += a * a + b * b;
            products += a * b;
        }
    }
    constexpr double count = window * window;
    constexpr double c1 = 0.01 * 0.01 * 255 * 255;
    constexpr double c2 = 0.03 * 0.03 * 255 * 255;
    const double meanA = sumFirst / count;
    const double meanB = sumSecond / count;
    const double variances = squares / count - meanA * meanA - meanB * meanB;
    const double covariance = products / count - meanA * meanB;
    return (2 * meanA * meanB + c1) * (2 * covariance + c2)
        / ((meanA * meanA + meanB * meanB + c1) * (variances + c2));
}

bool hasEdges(const std::uint8_t* source, int stride)
{
    int steps = 0;
    for (int y = 0; y < window; ++y) {
        for (int x = 1; x < window; ++x)
            steps += std::abs(source[y * stride + x] - source[y * stride + x - 1]) >= sharp;
    }
    return steps >= sharpSteps;
}

} // namespace

Luma lumaOf(const Canvas& picture)
{
    Luma luma = {picture.width, picture.height, {}};
    luma.samples.reserve(picture.pixels.size());
    for (const std::uint32_t pixel : picture.pixels) {
        const std::uint32_t sum = 66051 * (pixel >> 16U & 0xFFU) / 256 + 129675 * (pixel >> 8U & 0xFFU) / 256
            + 25185 * (pixel & 0xFFU) / 256;
        luma.samples.push_back(static_cast<std::uint8_t>(16 + (sum + 500) / 1005));
    }
    return luma;
}

Likeness likeness(const Luma& shown, const Luma& source)
{
    Likeness result;
    double structure = 0;
    double edgeStructure = 0;
    int windows = 0;
    int edgeWindows = 0;
    for (int y = 0; y + window <= source.height; y += windowStep) {
        for (int x = 0; x + window <= source.width; x += windowStep) {
            const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * source.width + x;
            const double like
                = structureOfWindow(shown.samples.data() + at, source.samples.data() + at, source.width);
            structure += like;
            ++windows;
            if (hasEdges(source.samples.data() + at, source.width)) {
                edgeStructure += like;
                ++edgeWindows;
            }
        }
    }
    result.structure = structure / std::max(windows, 1);
    if (edgeWindows > 0)
        result.edgeStructure = edgeStructure / edgeWindows;
    std::int64_t squares = 0;
    std::int64_t edgeSquares = 0;
    std::int64_t edges = 0;
    for (std::size_t at = 1; at < source.samples.size(); ++at) {
        const int difference = shown.samples[at] - source.samples[at];
        squares += difference * difference;
        if (std::abs(source.samples[at] - source.samples[at - 1]) < sharp)
            continue;
        edgeSquares += difference * difference;
        ++edges;
    }
    result.error = static_cast<double>(squares) / static_cast<double>(source.samples.size());
    result.edgeError = edges == 0 ? -1 : static_cast<double>(edgeSquares) / static_cast<double>(edges);
    return result;
}

double signalToNoise(double error)
{
    return error <= 0 ? 99 : std::min(10 * std::log10(255.0 * 255.0 / error), 99.0);
}

} // namespace glimto
