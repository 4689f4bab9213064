#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/TextDrawing.h"

namespace glimto {

// Text of a given size, which is drawn as one white pixel where its baseline begins.
class FakeTextDrawing final : public TextDrawing {
public:
    // How it behaves.
    bool hasFont = true;
    bool drawsWell = true;
    double width = 80; // pixels
    double ascent = 12;
    double descent = 4;

    // What happened.
    std::vector<std::string> texts; // of the lines made
    std::vector<TextFont> fonts;
    struct Drawn {
        double x = 0;
        double baseline = 0;
        TextStyle style;
    };
    std::vector<Drawn> drawn;

    std::unique_ptr<TextLine> makeLine(const std::string& text, const TextFont& font) override
    {
        texts.push_back(text);
        fonts.push_back(font);
        return hasFont ? std::make_unique<Line>(*this) : nullptr;
    }

private:
    class Line final : public TextLine {
    public:
        explicit Line(FakeTextDrawing& drawing)
            : drawing_(drawing)
        {
        }
        double width() const override { return drawing_.width; }
        double ascent() const override { return drawing_.ascent; }
        double descent() const override { return drawing_.descent; }
        bool draw(const PixelCanvas& canvas, double x, double baseline, const TextStyle& style) override
        {
            drawing_.drawn.push_back({x, baseline, style});
            auto* pixel = canvas.bytes + static_cast<std::size_t>(baseline) * canvas.bytesPerRow
                + 4 * static_cast<std::size_t>(x);
            pixel[0] = pixel[1] = pixel[2] = 255;
            return drawing_.drawsWell;
        }

    private:
        FakeTextDrawing& drawing_;
    };
};

} // namespace glimto
