#include "Backends/Wayland/WaylandPasteboard.h"

#include <exception>

#include "Backends/Clipboard/PasteboardOwnerProcess.h"
#include "Backends/Wayland/WaylandClipboardOffer.h"
#include "Backends/Wayland/WaylandErrors.h"

namespace glimto {

namespace {

constexpr const char* noClipboard
    = "This Wayland compositor lets no program without a window write the clipboard (wlr-data-control).";

} // namespace

std::optional<std::string> WaylandPasteboard::setPNG(std::span<const std::byte> data)
{
    try {
        // Said at once, and not by a process that has to be started for it.
        if (!WaylandConnection::open()->dataControl())
            return noClipboard;
    } catch (const std::exception& error) {
        return error.what();
    }
    return startPasteboardOwner(
        waylandPasteboardOwnerArgument, data, "The Wayland compositor does not answer.");
}

void WaylandPasteboardOwner::offer(std::span<const std::byte> png, const std::function<bool()>& isOffered)
{
    const auto connection = WaylandConnection::open();
    if (!connection->dataControl() || !connection->seat())
        throw waylandError(WaylandFailure::missingProtocol, noClipboard);
    WaylandClipboardOffer clipboard(*connection, png);
    if (isOffered())
        clipboard.run();
}

} // namespace glimto
