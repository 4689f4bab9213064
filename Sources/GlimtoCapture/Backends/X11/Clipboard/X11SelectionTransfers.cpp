#include "Backends/X11/Clipboard/X11SelectionTransfers.h"

#include <algorithm>
#include <limits>

namespace glimto {

namespace {

// Small enough that the server does not wait for one requestor while it serves others.
constexpr std::size_t largestPiece = 256 * 1024;
constexpr std::chrono::seconds patience{60};

void setProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
    std::span<const std::byte> data)
{
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
        static_cast<std::uint32_t>(data.size()), data.data());
}

} // namespace

X11SelectionTransfers::X11SelectionTransfers(X11Connection& connection, const X11SelectionAtoms& atoms)
    : connection_(connection)
    , atoms_(atoms)
{
}

void X11SelectionTransfers::send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type,
    std::span<const std::byte> data, HostTime now)
{
    // Who asks again for the same property has given up what it asked for before.
    std::erase_if(transfers_, [&](const Transfer& transfer) {
        return transfer.requestor == requestor && transfer.property == property;
    });
    if (data.size() <= largestPiece) {
        setProperty(connection_.xcb(), requestor, property, type, data);
        return;
    }
    listen(requestor);
    const auto atLeast = static_cast<std::uint32_t>(
        std::min<std::size_t>(data.size(), std::numeric_limits<std::int32_t>::max()));
    xcb_change_property(
        connection_.xcb(), XCB_PROP_MODE_REPLACE, requestor, property, atoms_.incremental, 32, 1, &atLeast);
    transfers_.push_back({requestor, property, type, data, false, now + patience});
}

void X11SelectionTransfers::handlePropertyNotify(const xcb_property_notify_event_t& event, HostTime now)
{
    if (event.state != XCB_PROPERTY_DELETE)
        return;
    const auto found = std::ranges::find_if(transfers_, [&](const Transfer& transfer) {
        return transfer.requestor == event.window && transfer.property == event.atom;
    });
    if (found == transfers_.end())
        return;
    sendPiece(*found, now);
    if (!found->isOver)
        return;
    transfers_.erase(found);
    stopListening(event.window);
}

void X11SelectionTransfers::forget(xcb_window_t requestor)
{
    std::erase_if(transfers_, [&](const Transfer& transfer) { return transfer.requestor == requestor; });
}

void X11SelectionTransfers::forgetOverdue(HostTime now)
{
    std::vector<xcb_window_t> forgotten;
    std::erase_if(transfers_, [&](const Transfer& transfer) {
        if (now < transfer.deadline)
            return false;
        forgotten.push_back(transfer.requestor);
        return true;
    });
    for (const xcb_window_t requestor : forgotten)
        stopListening(requestor);
}

std::optional<HostTime> X11SelectionTransfers::nextDeadline() const
{
    const auto earliest = std::ranges::min_element(transfers_, {}, &Transfer::deadline);
    return earliest == transfers_.end() ? std::nullopt : std::optional(earliest->deadline);
}

void X11SelectionTransfers::listen(xcb_window_t requestor)
{
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_.xcb(), requestor, XCB_CW_EVENT_MASK, &events);
}

void X11SelectionTransfers::stopListening(xcb_window_t requestor)
{
    if (std::ranges::find(transfers_, requestor, &Transfer::requestor) != transfers_.end())
        return;
    const std::uint32_t none = XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection_.xcb(), requestor, XCB_CW_EVENT_MASK, &none);
}

void X11SelectionTransfers::sendPiece(Transfer& transfer, HostTime now)
{
    const auto piece = transfer.rest.first(std::min(largestPiece, transfer.rest.size()));
    setProperty(connection_.xcb(), transfer.requestor, transfer.property, transfer.type, piece);
    transfer.isOver = piece.empty();
    transfer.rest = transfer.rest.subspan(piece.size());
    transfer.deadline = now + patience;
}

} // namespace glimto
