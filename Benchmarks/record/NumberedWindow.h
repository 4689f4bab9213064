#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace glimto {

// Squares in the top left corner of a picture that tell its number, black for 0 and white for 1, lowest bit
// first.
constexpr int markerBits = 16;
constexpr int markerSize = 16; // pixels

// Draws the marker of `number`, of which the lowest `markerBits` bits count. The pixels are B, G, R, X, rows
// of `width` without gaps, at least 256x16.
void drawMarker(std::uint32_t* pixels, int width, unsigned number);

// A picture and for how long it is shown.
struct NumberedStep {
    unsigned number = 0;
    unsigned ticks = 1;
};

// A window in the top left corner of the screen, above all others and without a frame, whose picture is put
// there in one piece. All of it throws std::runtime_error when there is no X server or it goes away.
class NumberedWindow {
public:
    NumberedWindow(int width, int height);
    ~NumberedWindow();
    NumberedWindow(const NumberedWindow&) = delete;
    NumberedWindow& operator=(const NumberedWindow&) = delete;

    // Shows pictures 0, 1, 2 and so on at a rate, for ever: `draw` draws the one with that number, without
    // its marker.
    void showAll(
        int picturesPerSecond, const std::function<void(std::uint32_t* pixels, unsigned number)>& draw);

    // Shows the pictures of a plan again and again, for ever, and touches nothing while one is shown. Of the
    // next one only the rows and columns that differ are put on the screen, all at once.
    void showPlan(int ticksPerSecond, const std::vector<NumberedStep>& plan,
        const std::function<void(std::uint32_t* pixels, unsigned number)>& draw);

private:
    void show();
    void showChanges();
    void put(std::uint16_t left, std::uint16_t top, std::uint16_t width, std::uint16_t height);
    void synchronize();

    xcb_connection_t* connection_;
    std::uint16_t width_;
    std::uint16_t height_;
    xcb_window_t window_ = 0;
    xcb_gcontext_t context_ = 0;
    xcb_shm_seg_t segment_ = 0;
    std::uint32_t* pixels_ = nullptr;
    std::vector<std::uint32_t> shown_; // by showChanges()
    std::uint8_t depth_ = 24;
};

} // namespace glimto
