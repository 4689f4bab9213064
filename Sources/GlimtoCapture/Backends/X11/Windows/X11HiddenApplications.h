#pragma once

#include <map>
#include <set>
#include <span>
#include <vector>

#include "Backends/X11/Windows/X11Applications.h"
#include "Backends/X11/Connection/X11Atoms.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Which top-level windows a capture leaves out: those of the excluded applications, whenever these
// start, but not the excepted windows. One window that is known for an excluded application's makes all
// windows of its process hidden. A frame that has lost its window still shows what that left there: it stays
// hidden until another application's window is in it. Answers are kept.
class X11HiddenApplications {
public:
    X11HiddenApplications(X11Connection& connection, const DisplayContentFilter& filter);

    // Finds out about the windows that are not known yet. Takes the same number of round trips for any
    // number of windows.
    void learn(std::span<const xcb_window_t> topLevels);

    // Whether the window is known to be hidden.
    bool hides(xcb_window_t topLevel) const;

    // Whether the window is known, and known not to be hidden. A window manager's frame around nothing is not
    // shown: it is about to get a window, or has lost it.
    bool shows(xcb_window_t topLevel) const;

    // Forgets what may have changed: when a window was mapped, when the window manager has changed its list,
    // and when a window was put into another one.
    void forget(xcb_window_t topLevel) { known_.erase(topLevel); }
    void forgetUnsure();
    void forgetAll() { known_.clear(); }
    void forgetAllBut(std::span<const xcb_window_t> topLevels);

private:
    struct Client {
        xcb_window_t window = XCB_WINDOW_NONE;
        bool isSure = false; // the window manager has marked it as a client
        bool isRead = false; // false when it had gone
        bool isEmptyFrame = false; // of the window manager, around nothing that could be found
        std::int32_t processID = 0; // 0 when unknown
        bool isExcluded = false; // by what it tells itself
    };
    std::vector<Client> clients(std::span<const xcb_window_t> topLevels);
    bool isExcluded(const X11OwnerClues& clues, const std::optional<Application>& owner) const;
    bool isHidden(const Client& client) const;
    void note(xcb_window_t topLevel, Client client);

    X11Connection& connection_;
    X11Atoms atoms_;
    ApplicationRule excluded_;
    std::set<std::int32_t> excludedProcesses_;
    std::set<xcb_window_t> excepted_;
    DesktopFiles desktopFiles_;
    X11Applications applications_;
    std::map<xcb_window_t, Client> known_;
    std::set<xcb_window_t> held_; // windows that were hidden when they were last known
};

} // namespace glimto
