#pragma once

#include "Platform/TextDrawing.h"

namespace glimto {

// Text by Pango and Cairo in the fonts that fontconfig knows.
//
// Glyphs are not hinted, so that widths follow the size exactly and text looks the same on every system
// that has the font. Used by one thread at a time.
class PangoTextDrawing final : public TextDrawing {
public:
    // The system's font is what fontconfig has for "system-ui", else its default sans-serif font.
    std::optional<TextLine> setLine(const std::string& text, const TextFont& font) override;
};

} // namespace glimto
