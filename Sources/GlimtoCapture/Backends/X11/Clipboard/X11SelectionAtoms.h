#pragma once

#include "Backends/X11/Connection/X11AtomNames.h"

namespace glimto {

// The atoms of the clipboard's protocol.
struct X11SelectionAtoms : X11AtomSet {
    explicit X11SelectionAtoms(X11Connection& connection)
        : X11AtomSet(connection)
    {
        receive();
    }

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

} // namespace glimto
