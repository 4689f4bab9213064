#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/TextDrawing.h"

namespace glimto {

// Text of a given size, whose letters cover one pixel, where its baseline begins.
class FakeTextDrawing final : public TextDrawing {
public:
    // How it behaves.
    bool hasFont = true;
    double width = 80; // pixels
    double ascent = 12;
    double descent = 4;
    std::vector<std::string> files; // that a line is set from
    std::vector<std::string> variables;

    // What happened.
    std::vector<std::string> texts; // of the lines set
    std::vector<TextFont> fonts;

    std::optional<TextLine> setLine(const std::string& text, const TextFont& font) override
    {
        texts.push_back(text);
        fonts.push_back(font);
        if (!hasFont)
            return std::nullopt;
        const std::uint8_t covered = 255;
        return TextLine{.width = width,
            .ascent = ascent,
            .descent = descent,
            .coverage = CoverageMask::copied({0, 0, 1, 1}, &covered, 1),
            .files = files,
            .variables = variables};
    }
};

} // namespace glimto
