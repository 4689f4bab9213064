#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "Backends/X11/Windows/DesktopFiles.h"
#include "Backends/X11/Windows/X11WindowDetails.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// Tells which application owns a window.
//
// Name and bundle identifier come from the desktop file that the window's application id or class
// names, else from the class itself ("XTerm" gives the name "XTerm" and the identifier "xterm"). A
// window without either has the name of another window of its process, else the process's own name
// and no identifier.
class X11Applications {
public:
    // `desktopFiles` outlives this object.
    explicit X11Applications(DesktopFiles& desktopFiles);

    // The owner of each window, in order; nothing for a window that tells neither process nor class.
    std::vector<std::optional<Application>> owners(std::span<const X11OwnerClues> windows);

private:
    struct Identity {
        std::string bundleIdentifier;
        std::string name;
    };

    std::optional<Identity> identity(const X11OwnerClues& window);
    std::optional<DesktopApplication> installedApplication(const X11OwnerClues& window);

    DesktopFiles& desktopFiles_;
    std::map<std::tuple<std::vector<std::string>, std::string, std::string>, std::optional<Identity>>
        identities_;
};

// The applications among `owners`, each once: by process, or as a whole when the process is unknown.
// The first seen counts.
std::vector<Application> distinctApplications(std::span<const std::optional<Application>> owners);

} // namespace glimto
