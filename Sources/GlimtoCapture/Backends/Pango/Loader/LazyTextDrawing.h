#pragma once

#include "Platform/TextDrawing.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Draws text with the module of the font libraries, which it opens on first use. There is no font when the
// module cannot be opened.
class LazyTextDrawing final : public TextDrawing {
public:
    // `module` outlives the object.
    explicit LazyTextDrawing(LoadableModule& module);

    std::unique_ptr<TextLine> makeLine(const std::string& text, const TextFont& font) override;

private:
    LoadableModule& module_;
};

} // namespace glimto
