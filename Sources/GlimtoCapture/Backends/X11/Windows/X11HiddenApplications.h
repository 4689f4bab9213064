#pragma once

#include <map>
#include <set>
#include <span>
#include <vector>

#include "Backends/X11/Windows/X11Applications.h"
#include "Backends/X11/Connection/X11Atoms.h"
#include "Platform/ContentFilter.h"

namespace glimto {

// Tells which top-level windows a capture leaves out: those of the excluded applications, but not the
// excepted windows. Answers are kept.
class X11HiddenApplications {
public:
    X11HiddenApplications(
        X11Connection& connection, std::vector<Application> excluded, const std::vector<Window>& excepted);

    // Finds out about the windows that are not known yet. Takes the same number of round trips for any
    // number of windows.
    void learn(std::span<const xcb_window_t> topLevels);

    // Whether the window is known to be hidden.
    bool hides(xcb_window_t topLevel) const;

    // Forgets what may have changed when a window was mapped, or the window manager has changed its list.
    void forget(xcb_window_t topLevel) { known_.erase(topLevel); }
    void forgetUnsure();
    void forgetAllBut(std::span<const xcb_window_t> topLevels);

private:
    struct Client {
        xcb_window_t window = XCB_WINDOW_NONE;
        bool isSure = false; // the window manager has marked it as a client
        bool isHidden = false;
    };
    std::vector<Client> clients(std::span<const xcb_window_t> topLevels);
    bool isExcluded(const Application& owner) const;

    X11Connection& connection_;
    X11Atoms atoms_;
    std::vector<Application> excluded_;
    std::set<xcb_window_t> excepted_;
    DesktopFiles desktopFiles_;
    X11Applications applications_;
    std::map<xcb_window_t, Client> known_;
};

} // namespace glimto
