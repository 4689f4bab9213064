#include "record/NumberedWindow.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <sys/ipc.h>
#include <sys/shm.h>

namespace glimto {

void drawMarker(std::uint32_t* pixels, int width, unsigned number)
{
    for (int bit = 0; bit < markerBits; ++bit) {
        const std::uint32_t color = ((number >> static_cast<unsigned>(bit)) & 1U) != 0 ? 0xFFFFFFU : 0U;
        for (int y = 0; y < markerSize; ++y) {
            std::uint32_t* row = pixels + static_cast<std::ptrdiff_t>(y) * width + bit * markerSize;
            std::fill(row, row + markerSize, color);
        }
    }
}

NumberedWindow::NumberedWindow(int width, int height)
    : connection_(xcb_connect(nullptr, nullptr))
    , width_(static_cast<std::uint16_t>(width))
    , height_(static_cast<std::uint16_t>(height))
{
    if (xcb_connection_has_error(connection_) != 0)
        throw std::runtime_error("no X display");
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    depth_ = screen.root_depth;
    window_ = xcb_generate_id(connection_);
    const std::uint32_t overrideRedirect = 1;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen.root, 0, 0, width_, height_, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
    context_ = xcb_generate_id(connection_);
    xcb_create_gc(connection_, context_, window_, 0, nullptr);
    const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    const int memory = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (memory < 0)
        throw std::runtime_error("no shared memory for a picture");
    pixels_ = static_cast<std::uint32_t*>(shmat(memory, nullptr, 0));
    segment_ = xcb_generate_id(connection_);
    xcb_shm_attach(connection_, segment_, static_cast<std::uint32_t>(memory), 1);
    xcb_map_window(connection_, window_);
    synchronize();
    shmctl(memory, IPC_RMID, nullptr);
}

NumberedWindow::~NumberedWindow()
{
    xcb_disconnect(connection_);
}

void NumberedWindow::showAll(
    int picturesPerSecond, const std::function<void(std::uint32_t* pixels, unsigned number)>& draw)
{
    const auto start = std::chrono::steady_clock::now();
    for (unsigned number = 0;; ++number) {
        draw(pixels_, number);
        drawMarker(pixels_, width_, number);
        std::this_thread::sleep_until(
            start + std::chrono::microseconds(number * 1'000'000LL / picturesPerSecond));
        show();
    }
}

void NumberedWindow::show()
{
    xcb_shm_put_image(connection_, window_, context_, width_, height_, 0, 0, width_, height_, 0, 0, depth_,
        XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment_, 0);
    synchronize();
}

void NumberedWindow::synchronize()
{
    auto* reply = xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr);
    if (!reply)
        throw std::runtime_error("the X server went away");
    std::free(reply);
}

} // namespace glimto
