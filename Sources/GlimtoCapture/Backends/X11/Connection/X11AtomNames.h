#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include <xcb/xcb.h>

#include "Backends/X11/Connection/X11Connection.h"

namespace glimto {

// Atoms that are interned in one round trip: a struct of X11Atom, made as X11Interned.
//
//     struct AtomNames : X11AtomSet {
//         using X11AtomSet::X11AtomSet;
//         X11Atom name{*this, "_NET_WM_NAME"};
//     };
//     const X11Interned<AtomNames> atoms(connection);
class X11AtomSet {
public:
    explicit X11AtomSet(X11Connection& connection)
        : connection_(connection)
    {
    }
    X11AtomSet(const X11AtomSet&) = delete;
    X11AtomSet& operator=(const X11AtomSet&) = delete;

protected:
    // An atom stays none when the server answers with an error. Throws PlatformError when the server goes
    // away or does not answer in time.
    void receive()
    {
        for (const auto& [cookie, id] : std::exchange(asked_, {})) {
            if (const auto reply = connection_.reply<xcb_intern_atom_reply_t>(cookie))
                *id = reply->atom;
        }
    }

private:
    friend class X11Atom;

    X11Connection& connection_;
    std::vector<std::pair<xcb_intern_atom_cookie_t, xcb_atom_t*>> asked_;
};

// The atoms of `Names` with their ids. Throws what receive() throws.
template <typename Names> struct X11Interned : Names {
    explicit X11Interned(X11Connection& connection)
        : Names(connection)
    {
        this->receive();
    }
};

// One of them.
class X11Atom {
public:
    X11Atom(X11AtomSet& set, std::string_view name)
    {
        set.asked_.emplace_back(
            xcb_intern_atom(set.connection_.xcb(), 0, static_cast<std::uint16_t>(name.size()), name.data()),
            &id_);
    }
    X11Atom(const X11Atom&) = delete;
    X11Atom& operator=(const X11Atom&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor): it stands for its id in requests.
    operator xcb_atom_t() const { return id_; }

private:
    xcb_atom_t id_ = XCB_ATOM_NONE;
};

} // namespace glimto
