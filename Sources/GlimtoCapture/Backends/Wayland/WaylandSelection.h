#pragma once

#include <functional>
#include <memory>

#include "Backends/Wayland/WaylandConnection.h"
#include "Support/FileDescriptor.h"

namespace glimto {

// Contents of the clipboard of a seat that a program without a window has put there, by one of the
// data-control protocols. Told by events as the connection handles them.
class WaylandSelection {
public:
    struct Handlers {
        std::function<void(FileDescriptor pipe)> onRequest; // somebody wants them
        std::function<void()> onLost; // another program has the clipboard, or the seat is gone; for good
    };

    // Whether the compositor offers what it takes.
    static bool isPossible(const WaylandConnection& connection);

    // Takes the clipboard, which then has contents of this type; where it is possible. The connection
    // outlives the object.
    static std::unique_ptr<WaylandSelection> take(
        WaylandConnection& connection, const char* type, Handlers handlers);

    virtual ~WaylandSelection() = default;
    WaylandSelection(const WaylandSelection&) = delete;
    WaylandSelection& operator=(const WaylandSelection&) = delete;

protected:
    WaylandSelection() = default;
};

} // namespace glimto
