#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11AtomNames.h"
#include "Support/HostClock.h"

namespace glimto {

// The atoms of the clipboard's protocol.
struct X11SelectionAtomNames : X11AtomSet {
    using X11AtomSet::X11AtomSet;

    X11Atom clipboard{*this, "CLIPBOARD"};
    X11Atom clipboardManager{*this, "CLIPBOARD_MANAGER"};
    X11Atom targets{*this, "TARGETS"};
    X11Atom timestamp{*this, "TIMESTAMP"};
    X11Atom multiple{*this, "MULTIPLE"};
    X11Atom saveTargets{*this, "SAVE_TARGETS"};
    X11Atom incremental{*this, "INCR"};
    X11Atom atomPair{*this, "ATOM_PAIR"};
    X11Atom null{*this, "NULL"};
    X11Atom png{*this, "image/png"};
    X11Atom scratch{*this, "_GLIMTO_CLIPBOARD"}; // a property of our own
};
using X11SelectionAtoms = X11Interned<X11SelectionAtomNames>;

// Data that is too large for one property, handed over piece by piece (ICCCM, 2.7.2): a requestor deletes
// the property when it has read a piece, and gets the next one. Any number of requestors at once.
//
// A requestor that is destroyed, or takes nothing for a minute, is forgotten.
class X11SelectionTransfers {
public:
    // Both outlive the object.
    X11SelectionTransfers(X11Connection& connection, const X11SelectionAtoms& atoms);

    // Puts all of `data` into the property, or begins to hand it over when it is large. `data` outlives the
    // object.
    void send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t type, std::span<const std::byte> data,
        HostTime now);

    void handlePropertyNotify(const xcb_property_notify_event_t& event, HostTime now);
    // The requestor is gone.
    void forget(xcb_window_t requestor);
    void forgetOverdue(HostTime now);

    bool isEmpty() const { return transfers_.empty(); }

    // When forgetOverdue() has something to do next.
    std::optional<HostTime> nextDeadline() const;

private:
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        xcb_atom_t type;
        std::span<const std::byte> rest;
        bool isOver; // the empty piece that ends the data was sent
        HostTime deadline = {};
    };

    void listen(xcb_window_t requestor);
    void stopListening(xcb_window_t requestor);
    void sendPiece(Transfer& transfer, HostTime now);

    X11Connection& connection_;
    const X11SelectionAtoms& atoms_;
    std::vector<Transfer> transfers_;
};

} // namespace glimto
