#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace glimto {

// A picture in memory that may be drawn into: 32 bits a pixel, bytes B, G, R, X, rows from top to bottom.
struct PixelCanvas {
    int width = 0; // pixels
    int height = 0;
    std::size_t bytesPerRow = 0;
    std::uint8_t* bytes = nullptr;
};

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
    // counted from the canvas's top left. False when it could not; the canvas may be partly drawn then.
    virtual bool draw(const PixelCanvas& canvas, double x, double baseline, const TextStyle& style) = 0;
};

class TextDrawing {
public:
    virtual ~TextDrawing() = default;

    // Null when there is no such font. Does not throw.
    virtual std::unique_ptr<TextLine> makeLine(const std::string& text, const TextFont& font) = 0;
};

} // namespace glimto
