#pragma once

#include <memory>
#include <string>

#include "Platform/PixelBuffer.h"

namespace glimto {

struct TextFont {
    enum class Family { systemUI };
    enum class Weight { regular, medium };

    Family family = Family::systemUI;
    Weight weight = Weight::regular;
    double size = 0; // pixels
};

struct TextStyle {
    double gray = 1; // 0 black to 1 white
    double alpha = 1;
    // The shadow lies this far from the text: positive y is down.
    double shadowOffsetX = 0; // pixels
    double shadowOffsetY = 0;
    double shadowBlur = 0; // radius in pixels
    double shadowGray = 0;
    double shadowAlpha = 0; // 0: no shadow
};

// One line of text that was set in a font.
class TextLine {
public:
    virtual ~TextLine() = default;

    // Typographic bounds in pixels: the advance, and the font's ascent and descent, all not negative.
    virtual double width() const = 0;
    virtual double ascent() const = 0;
    virtual double descent() const = 0;

    // Draws the line, antialiased without colour fringes, with its baseline starting at (`x`, `baseline`),
    // counted from the top left of the canvas, which is xrgb8888. False when it could not; the canvas may be
    // partly drawn then.
    virtual bool draw(const PixelCanvas& canvas, double x, double baseline, const TextStyle& style) = 0;
};

class TextDrawing {
public:
    virtual ~TextDrawing() = default;

    // Null when there is no such font. Does not throw.
    virtual std::unique_ptr<TextLine> makeLine(const std::string& text, const TextFont& font) = 0;
};

} // namespace glimto
