#include "Backends/X11/Clipboard/X11SelectionAtoms.h"

#include "Backends/X11/Connection/X11AtomNames.h"

namespace glimto {

namespace {

constexpr X11AtomNames<X11SelectionAtoms, 11> atomNames{{
    {&X11SelectionAtoms::clipboard, "CLIPBOARD"},
    {&X11SelectionAtoms::clipboardManager, "CLIPBOARD_MANAGER"},
    {&X11SelectionAtoms::targets, "TARGETS"},
    {&X11SelectionAtoms::timestamp, "TIMESTAMP"},
    {&X11SelectionAtoms::multiple, "MULTIPLE"},
    {&X11SelectionAtoms::saveTargets, "SAVE_TARGETS"},
    {&X11SelectionAtoms::incremental, "INCR"},
    {&X11SelectionAtoms::atomPair, "ATOM_PAIR"},
    {&X11SelectionAtoms::null, "NULL"},
    {&X11SelectionAtoms::png, "image/png"},
    {&X11SelectionAtoms::scratch, "_GLIMTO_CLIPBOARD"},
}};

} // namespace

X11SelectionAtoms::X11SelectionAtoms(X11Connection& connection)
{
    internAtoms(connection, atomNames, *this);
}

} // namespace glimto
