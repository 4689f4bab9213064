#pragma once

#include <string>

#include <wayland-server.h>

namespace glimto {

// The clipboard of the one seat, by ext-data-control.
class TestSeat {
public:
    explicit TestSeat(wl_display* display, bool hasClipboard);

    // The owner is to write its picture into the file. Throws std::runtime_error when there is none.
    void paste(const std::string& path);

    // Another program takes the clipboard.
    void take();

    void select(wl_resource* source);
    void forget(wl_resource* source);

private:
    wl_resource* source_ = nullptr;
};

} // namespace glimto
