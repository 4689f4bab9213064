#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11Resource.h"
#include "Backends/X11/Clipboard/X11SelectionAtoms.h"
#include "Backends/X11/Clipboard/X11SelectionTransfers.h"

namespace glimto {

// Owns the CLIPBOARD selection and gives its contents, one PNG, to whoever asks (ICCCM, sections 2.1 to 2.7).
//
// Every operation throws PlatformError when the server goes away.
class X11ClipboardOffer {
public:
    // Both outlive the object.
    X11ClipboardOffer(X11Connection& connection, std::span<const std::byte> png);

    // Takes the selection, with a time stamp of the server. Whether the server says that it is ours.
    bool acquire();

    // Serves requests. Gives the clipboard manager, if there is one, a copy, and returns when another client
    // has taken the selection and everything begun is handed over.
    void run();

private:
    using Clock = X11SelectionTransfers::Clock;

    void makeWindow();
    std::optional<xcb_timestamp_t> serverTime();
    xcb_window_t selectionOwner(xcb_atom_t selection);
    void askManagerToSave();
    void waitReadable(std::optional<Clock::time_point> deadline);

    void handle(const xcb_generic_event_t& event);
    void answer(const xcb_selection_request_event_t& request);
    bool mayAnswer(const xcb_selection_request_event_t& request) const;
    bool convert(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target);
    bool convertMultiple(xcb_window_t requestor, xcb_atom_t property);

    X11Connection& connection_;
    std::span<const std::byte> png_;
    X11SelectionAtoms atoms_;
    X11SelectionTransfers transfers_;
    X11Window window_;
    xcb_timestamp_t ownedSince_ = 0;
    bool isOwner_ = false;
    std::optional<xcb_timestamp_t> timeSeen_; // in the last notification about our own window
};

} // namespace glimto
