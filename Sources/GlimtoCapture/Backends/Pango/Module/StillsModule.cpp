#include "Backends/Pango/Loader/StillsModuleEntry.h"
#include "Backends/Pango/PangoTextDrawing.h"

// The service lives as long as the process.
extern "C" glimto::TextDrawing* glimtoCaptureTextDrawing()
{
    static glimto::PangoTextDrawing drawing;
    return &drawing;
}
