#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// The fields of a struct of atoms, each with the name of its atom.
template <typename Atoms, std::size_t count>
using X11AtomNames = std::array<std::pair<xcb_atom_t Atoms::*, std::string_view>, count>;

// Fills the fields with their atoms, all interned in one round trip; a field stays as it is when the server
// answers with an error. Throws PlatformError when the server goes away or does not answer in time.
template <typename Atoms, std::size_t count>
void internAtoms(X11Connection& connection, const X11AtomNames<Atoms, count>& names, Atoms& atoms)
{
    std::array<xcb_intern_atom_cookie_t, count> cookies{};
    for (std::size_t index = 0; index < count; ++index) {
        const std::string_view name = names[index].second;
        cookies[index]
            = xcb_intern_atom(connection.xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data());
    }
    for (std::size_t index = 0; index < count; ++index) {
        if (const auto reply = connection.reply<xcb_intern_atom_reply_t>(cookies[index]))
            atoms.*names[index].first = reply->atom;
    }
}

} // namespace glimto
