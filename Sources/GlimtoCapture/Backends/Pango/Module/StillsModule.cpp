#include "Backends/Pango/PangoTextDrawing.h"
#include "Support/ModuleTable.h"

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<TextDrawing, PangoTextDrawing>>();
}
