#include "record/NumberedWindow.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <sys/ipc.h>
#include <sys/shm.h>

namespace glimto {

namespace {

constexpr int bandHeight = 16; // rows whose changes are put on the screen as one rectangle

}

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

void NumberedWindow::showPlan(int ticksPerSecond, const std::vector<NumberedStep>& plan,
    const std::function<void(std::uint32_t* pixels, unsigned number)>& draw)
{
    const auto start = std::chrono::steady_clock::now();
    long long tick = 0;
    for (;;) {
        for (const NumberedStep& step : plan) {
            draw(pixels_, step.number);
            drawMarker(pixels_, width_, step.number);
            std::this_thread::sleep_until(
                start + std::chrono::microseconds(tick * 1'000'000LL / ticksPerSecond));
            showChanges();
            tick += step.ticks;
        }
    }
}

void NumberedWindow::show()
{
    put(0, 0, width_, height_);
    synchronize();
}

// Nobody sees the screen between the first and the last rectangle.
void NumberedWindow::showChanges()
{
    const std::size_t count = static_cast<std::size_t>(width_) * height_;
    if (shown_.empty()) {
        shown_.assign(pixels_, pixels_ + count);
        show();
        return;
    }
    xcb_grab_server(connection_);
    for (int top = 0; top < height_; top += bandHeight) {
        const int bottom = std::min<int>(top + bandHeight, height_);
        int left = width_;
        int right = 0;
        for (int y = top; y < bottom; ++y) {
            const std::uint32_t* row = pixels_ + static_cast<std::ptrdiff_t>(y) * width_;
            const std::uint32_t* before = shown_.data() + static_cast<std::ptrdiff_t>(y) * width_;
            const auto first = std::mismatch(row, row + width_, before).first - row;
            if (first == width_)
                continue;
            auto last = static_cast<std::ptrdiff_t>(width_);
            while (row[last - 1] == before[last - 1])
                --last;
            left = std::min(left, static_cast<int>(first));
            right = std::max(right, static_cast<int>(last));
        }
        if (left < right)
            put(static_cast<std::uint16_t>(left), static_cast<std::uint16_t>(top),
                static_cast<std::uint16_t>(right - left), static_cast<std::uint16_t>(bottom - top));
    }
    xcb_ungrab_server(connection_);
    synchronize();
    std::copy_n(pixels_, count, shown_.begin());
}

void NumberedWindow::put(std::uint16_t left, std::uint16_t top, std::uint16_t width, std::uint16_t height)
{
    xcb_shm_put_image(connection_, window_, context_, width_, height_, left, top, width, height,
        static_cast<std::int16_t>(left), static_cast<std::int16_t>(top), depth_, XCB_IMAGE_FORMAT_Z_PIXMAP, 0,
        segment_, 0);
}

void NumberedWindow::synchronize()
{
    auto* reply = xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr);
    if (!reply)
        throw std::runtime_error("the X server went away");
    std::free(reply);
}

} // namespace glimto
