#pragma once

#include <vector>

#include "Backends/Tesseract/TextRows.h"

namespace glimto {

// The rows of a page in the order in which a person reads them: column by column, from top to bottom.
//
// White from top to bottom, wider than the gaps between words, parts columns when there is prose on both
// sides, or when the rows stand at other heights than those beside them; so the fields of a table, a log, an
// indented list, and source code with its line numbers and comments stay in one row. What stands above,
// between and below columns is read before, between and after them. Beside an upright rule narrower columns
// count.
std::vector<TextRow> rowsInReadingOrder(
    const std::vector<PixelRect>& words, const std::vector<PixelRect>& rules, int letterHeight);

} // namespace glimto
