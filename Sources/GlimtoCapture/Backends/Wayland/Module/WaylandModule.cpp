#include "Backends/Wayland/WaylandWindowSystem.h"
#include "Support/ModuleTable.h"

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<WindowSystem, WaylandWindowSystem>,
        Provided<PasteboardOwner, WaylandPasteboardOwner>>();
}
