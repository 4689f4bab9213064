#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Backends/Wayland/WaylandConnection.h"

namespace glimto {

// A window that every client can name (ext-foreign-toplevel-list).
struct WaylandListedWindow {
    WaylandHandle<ext_foreign_toplevel_handle_v1> handle;
    std::string identifier; // the same for every client, and never used again
    std::string title; // as the window has it
    std::string applicationID;
    bool isClosed = false;

    std::uint32_t windowID() const;
};

// The windows of the session by the common protocol. Used by the thread of its connection, which outlives it.
class WaylandWindowList {
public:
    // Empty where the compositor does not offer it. Throws PlatformError when it does not answer.
    explicit WaylandWindowList(WaylandConnection& connection);

    // In the order in which the compositor told them; closed ones may be among them. They go on being told.
    const std::vector<std::unique_ptr<WaylandListedWindow>>& windows() const { return windows_; }

    // Hears of no other one any more. Null when it is not among them.
    const WaylandListedWindow* keepOnly(std::uint32_t windowID);

private:
    void add(ext_foreign_toplevel_handle_v1* handle);

    WaylandHandle<ext_foreign_toplevel_list_v1> list_;
    std::vector<std::unique_ptr<WaylandListedWindow>> windows_;
};

} // namespace glimto
