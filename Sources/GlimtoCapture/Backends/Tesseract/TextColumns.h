#pragma once

#include <vector>

#include "Platform/Geometry.h"

struct Pix;

namespace glimto {

// The columns of a page, in reading order: rectangles that hold all of the black in `ink` (1 bit a pixel).
//
// A column ends where a line, or white from top to bottom that is wider than the gaps between words, parts
// text. White parts only prose from prose, and text whose lines stand at other heights than those beside it;
// so the fields of a table, a log, an indented list, and source code with its comments stay together. What
// stands above, between and below columns is a column of its own. Empty when there is no black.
std::vector<PixelRect> findTextColumns(Pix* ink, int letterHeight);

} // namespace glimto
