#include "Backends/Pango/Loader/LazyTextDrawing.h"

#include "Backends/Pango/Loader/StillsModuleEntry.h"
#include "Support/Errors.h"

namespace glimto {

LazyTextDrawing::LazyTextDrawing(LoadableModule& module)
    : module_(module)
{
}

std::unique_ptr<TextLine> LazyTextDrawing::makeLine(const std::string& text, const TextFont& font)
{
    try {
        const auto drawing = module_.entry<decltype(glimtoCaptureTextDrawing)>(textDrawingEntryName);
        return drawing()->makeLine(text, font);
    } catch (const PlatformError&) {
        return nullptr;
    }
}

} // namespace glimto
