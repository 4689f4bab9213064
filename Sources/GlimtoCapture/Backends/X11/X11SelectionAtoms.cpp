#include "Backends/X11/X11SelectionAtoms.h"

#include <array>
#include <cstring>
#include <utility>

namespace glimto {

namespace {

constexpr std::array<std::pair<xcb_atom_t X11SelectionAtoms::*, const char*>, 11> atomNames{{
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
    std::array<xcb_intern_atom_cookie_t, atomNames.size()> cookies{};
    for (std::size_t index = 0; index < atomNames.size(); ++index) {
        const char* text = atomNames[index].second;
        cookies[index]
            = xcb_intern_atom(connection.xcb(), 0, static_cast<std::uint16_t>(std::strlen(text)), text);
    }
    for (std::size_t index = 0; index < atomNames.size(); ++index) {
        if (const auto reply = connection.reply<xcb_intern_atom_reply_t>(cookies[index]))
            this->*atomNames[index].first = reply->atom;
    }
}

} // namespace glimto
