#pragma once

#include <vector>

#include "Platform/Geometry.h"

struct Pix;

namespace glimto {

struct Span {
    int begin = 0;
    int end = 0; // one past the last
    int length() const { return end - begin; }
};

// Black pixels by row or by column.
using InkProfile = std::vector<int>;

// Of a part of `ink` (1 bit a pixel); empty where the part lies outside.
InkProfile inkByRow(Pix* ink, const PixelRect& area);
InkProfile inkByColumn(Pix* ink, const PixelRect& area);

// Runs of non-zero values that are parted by at least `gap` zeros.
std::vector<Span> inkRuns(const InkProfile& profile, int gap);

} // namespace glimto
