#pragma once

#include <vector>

#include "Platform/Geometry.h"

struct Pix;

namespace glimto {

// The columns of a page, in reading order: rectangles that hold all of the black in `ink` (1 bit a pixel).
//
// A column ends where white from top to bottom, or a line, parts text that is wide enough on both sides; so
// the fields of a table and an indented list stay together. What stands above, between and below columns is
// a column of its own. Empty when there is no black.
std::vector<PixelRect> findTextColumns(Pix* ink, int letterHeight);

} // namespace glimto
