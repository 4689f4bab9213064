#include "Backends/X11/Clipboard/X11Pasteboard.h"

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/X11/Clipboard/X11PasteboardOwner.h"

namespace glimto {

std::optional<std::string> X11Pasteboard::setPNG(std::span<const std::byte> data)
{
    return startPasteboardOwner(x11PasteboardOwnerArgument, data, "The X server does not answer.");
}

} // namespace glimto
