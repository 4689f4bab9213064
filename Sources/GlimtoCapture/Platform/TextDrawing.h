#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/CoverageMask.h"

namespace glimto {

struct TextFont {
    enum class Family { systemUI };
    enum class Weight { regular, medium };

    Family family = Family::systemUI;
    Weight weight = Weight::regular;
    double size = 0; // pixels
};

// One line of text that was set in a font.
struct TextLine {
    // Typographic bounds in pixels: the advance, and the font's ascent and descent, all not negative.
    double width = 0;
    double ascent = 0;
    double descent = 0;

    // What the letters cover, antialiased without colour fringes, when the baseline starts at (0, 0).
    CoverageMask coverage;

    // Where these stay as they are, the line would look the same if it were set again: files and directories,
    // which need not exist, and variables of the environment. Without any file nobody can tell.
    std::vector<std::string> files = {};
    std::vector<std::string> variables = {};
};

class TextDrawing {
public:
    virtual ~TextDrawing() = default;

    // Absent when there is no such font, or it cannot be drawn. Does not throw.
    virtual std::optional<TextLine> setLine(const std::string& text, const TextFont& font) = 0;
};

} // namespace glimto
