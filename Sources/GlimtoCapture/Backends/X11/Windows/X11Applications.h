#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "Backends/DesktopFiles/DesktopFiles.h"
#include "Backends/X11/Windows/X11WindowDetails.h"
#include "Platform/ShareableContent.h"

namespace glimto {

// Finds the application that owns a window.
//
// Name and bundle identifier come from the application id that the window declares and the desktop file that
// this names, else from the desktop file that its class names, else from the class itself ("XTerm" gives the
// name "XTerm" and the identifier "xterm"). All windows of a process have one identity: that of the window
// which says most, of several the oldest, wherever they lie on the screen. A process without any has its own
// name and no identifier.
class X11Applications {
public:
    // `desktopFiles` outlives this object.
    explicit X11Applications(DesktopFiles& desktopFiles);

    // The owner of each window, in order; nothing for a window that tells neither process nor class.
    std::vector<std::optional<Application>> owners(std::span<const X11OwnerClues> windows);

private:
    // How much of an identity is the window's own word; the lower the better.
    enum class Source { applicationID, windowClass };
    struct Identity {
        std::string bundleIdentifier;
        std::string name;
        Source source = Source::windowClass;
    };

    std::optional<Identity> identity(const X11OwnerClues& window);
    std::optional<Identity> declared(const X11OwnerClues& window);
    std::optional<Identity> fromClass(const X11OwnerClues& window);

    DesktopFiles& desktopFiles_;
    std::map<std::tuple<std::vector<std::string>, std::string, std::string>, std::optional<Identity>>
        identities_;
};

// The applications among `owners`, each once: by process, or as a whole when the process is unknown.
// The first seen counts.
std::vector<Application> distinctApplications(std::span<const std::optional<Application>> owners);

} // namespace glimto
