#pragma once

#include <vector>

#include "Platform/Geometry.h"

namespace glimto {

// Words that stand beside each other, from left to right.
struct TextRow {
    std::vector<PixelRect> words;
    int top = 0;
    int bottom = 0; // one past the last
};

// Larger by so much on each side.
PixelRect grown(const PixelRect& rect, int by);

// Joins letters, and the parts of letters, into words; a word holds no white as wide as half a letter is
// high.
std::vector<PixelRect> findWords(std::vector<PixelRect> parts, int letterHeight);

// Rows from top to bottom.
std::vector<TextRow> rowsOf(std::vector<PixelRect> words, int letterHeight);

// The row in parts that very wide white parts, as the fields of a table.
std::vector<TextRow> fieldsOf(const TextRow& row);

} // namespace glimto
