#pragma once

#include <cstdint>
#include <vector>

#include "picture/Canvas.h"

namespace glimto {

// The luma of a picture, BT.601 limited range, rows without gaps.
struct Luma {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> samples;
};

Luma lumaOf(const Canvas& picture);

// How close one picture comes to another.
struct Likeness {
    double structure = 0; // SSIM (Wang, Bovik, Sheikh, Simoncelli 2004), 1: the same
    double edgeStructure = -1; // SSIM of what has sharp edges, as text has them; -1 when there are none
    double error = 0; // mean square
    double edgeError = -1; // the same beside sharp edges; -1 when there are none
};

Likeness likeness(const Luma& shown, const Luma& source);

// Decibels of a mean square error, at most 99.
double signalToNoise(double error);

} // namespace glimto
