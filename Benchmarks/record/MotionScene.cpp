// Full-screen motion for recorders to record: a window that shows a new picture of 1920x1080 thirty times a
// second, all of it moving, with edges, gradients and grain as in filmed video. Its number stands in
// the top left corner as 16 black or white squares, lowest bit first.
//
//     glimto-motion-scene                shows the pictures until it is killed
//     glimto-motion-scene --picture N    writes picture N to standard output, 1920x1080 BGRX

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

namespace {

constexpr int width = 1920;
constexpr int height = 1080;
constexpr int textureSize = 4096; // a power of two, so that panning wraps with a mask
constexpr int markerBits = 16;
constexpr int markerSize = 16;
constexpr int framesPerSecond = 30;
constexpr std::size_t pictureBytes = static_cast<std::size_t>(width) * height * 4;

std::uint32_t noise(std::uint32_t x, std::uint32_t y)
{
    std::uint32_t value = x * 374761393U + y * 668265263U;
    value = (value ^ (value >> 13U)) * 1274126177U;
    return value ^ (value >> 16U);
}

std::uint8_t channel(double value)
{
    return static_cast<std::uint8_t>(std::fmin(std::fmax(value, 0.0), 255.0));
}

// One picture larger than the screen, over which the screen pans.
std::vector<std::uint32_t> makeTexture()
{
    std::vector<std::uint32_t> texture(static_cast<std::size_t>(textureSize) * textureSize);
    constexpr double turn = 6.283185307179586 / textureSize;
    for (std::uint32_t y = 0; y < textureSize; ++y) {
        for (std::uint32_t x = 0; x < textureSize; ++x) {
            const double wave
                = std::sin(turn * 5 * x) + std::cos(turn * 7 * y) + std::sin(turn * 3 * (x + 2 * y));
            const bool isEdge = ((x / 97U) + (y / 61U)) % 5U == 0;
            const double grain = static_cast<double>(noise(x, y) & 15U);
            const double base = 110 + 35 * wave + (isEdge ? 40 : 0) + grain;
            texture[y * textureSize + x] = static_cast<std::uint32_t>(channel(base))
                | (static_cast<std::uint32_t>(channel(base * 0.8 + 20)) << 8U)
                | (static_cast<std::uint32_t>(channel(230 - base)) << 16U);
        }
    }
    return texture;
}

void drawMarker(std::uint32_t* pixels, unsigned number)
{
    for (unsigned bit = 0; bit < markerBits; ++bit) {
        const std::uint32_t color = ((number >> bit) & 1U) != 0 ? 0xFFFFFFU : 0U;
        for (unsigned y = 0; y < markerSize; ++y) {
            std::uint32_t* row = pixels + static_cast<std::size_t>(y) * width + bit * markerSize;
            std::fill(row, row + markerSize, color);
        }
    }
}

void drawPicture(std::uint32_t* pixels, const std::vector<std::uint32_t>& texture, unsigned number)
{
    const unsigned shiftX = number * 9;
    const unsigned shiftY = number * 4;
    for (unsigned y = 0; y < height; ++y) {
        const std::uint32_t* row
            = texture.data() + static_cast<std::size_t>((y + shiftY) & (textureSize - 1)) * textureSize;
        const unsigned first = shiftX & (textureSize - 1);
        const unsigned beforeWrap = std::min<unsigned>(width, textureSize - first);
        std::uint32_t* target = pixels + static_cast<std::size_t>(y) * width;
        std::memcpy(target, row + first, beforeWrap * 4UL);
        std::memcpy(target + beforeWrap, row, (width - beforeWrap) * 4UL);
    }
    // Things that move against the background.
    for (unsigned ball = 0; ball < 12; ++ball) {
        const int centerX = static_cast<int>((number * (7 + ball * 3) + ball * 331) % width);
        const int centerY = static_cast<int>((number * (5 + ball * 2) + ball * 177) % height);
        const int radius = 40 + static_cast<int>(ball) * 6;
        for (int y = std::max(centerY - radius, 0); y < std::min(centerY + radius, height); ++y) {
            const int half = static_cast<int>(std::sqrt(radius * radius - (y - centerY) * (y - centerY)));
            const int left = std::max(centerX - half, 0);
            const int right = std::min(centerX + half, width);
            std::uint32_t* row = pixels + static_cast<std::size_t>(y) * width;
            if (right > left)
                std::fill(row + left, row + right, 0x203040U * (ball + 1) & 0xFFFFFFU);
        }
    }
    drawMarker(pixels, number);
}

class Screen {
public:
    Screen()
        : connection_(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(connection_) != 0)
            throw std::runtime_error("no X display");
        const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t overrideRedirect = 1;
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, screen.root, 0, 0, width, height, 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
        context_ = xcb_generate_id(connection_);
        xcb_create_gc(connection_, context_, window_, 0, nullptr);
        const int memory = shmget(IPC_PRIVATE, pictureBytes, IPC_CREAT | 0600);
        pixels_ = static_cast<std::uint32_t*>(shmat(memory, nullptr, 0));
        segment_ = xcb_generate_id(connection_);
        xcb_shm_attach(connection_, segment_, static_cast<std::uint32_t>(memory), 1);
        xcb_map_window(connection_, window_);
        synchronize();
        shmctl(memory, IPC_RMID, nullptr);
        depth_ = screen.root_depth;
    }

    ~Screen() { xcb_disconnect(connection_); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    std::uint32_t* pixels() { return pixels_; }

    void show()
    {
        xcb_shm_put_image(connection_, window_, context_, width, height, 0, 0, width, height, 0, 0, depth_,
            XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment_, 0);
        synchronize();
    }

private:
    void synchronize()
    {
        auto* reply = xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr);
        if (!reply)
            throw std::runtime_error("the X server went away");
        std::free(reply);
    }

    xcb_connection_t* connection_;
    xcb_window_t window_ = 0;
    xcb_gcontext_t context_ = 0;
    xcb_shm_seg_t segment_ = 0;
    std::uint32_t* pixels_ = nullptr;
    std::uint8_t depth_ = 24;
};

void show(const std::vector<std::uint32_t>& texture)
{
    Screen screen;
    const auto start = std::chrono::steady_clock::now();
    for (unsigned number = 0;; ++number) {
        drawPicture(screen.pixels(), texture, number & 0xFFFFU);
        std::this_thread::sleep_until(
            start + std::chrono::microseconds(number * 1'000'000LL / framesPerSecond));
        screen.show();
    }
}

void writePicture(const std::vector<std::uint32_t>& texture, unsigned number)
{
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
    drawPicture(pixels.data(), texture, number);
    std::fwrite(pixels.data(), 4, pixels.size(), stdout);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        const auto texture = makeTexture();
        if (argumentCount == 3 && std::string(arguments[1]) == "--picture")
            writePicture(texture, static_cast<unsigned>(std::strtoul(arguments[2], nullptr, 10)));
        else
            show(texture);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
