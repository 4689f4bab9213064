// Opens one window on a Wayland compositor and paints known things in it, as the lines on its standard input
// say. Each line is answered by one line, "ok" once the compositor has shown it or "error <text>". Ends with
// its input.
//
//   open <output> <application> <title>    fullscreen on that output, or an ordinary window with "-"
//   title <title>
//   fill <RRGGBB>
//   rect <x> <y> <width> <height> <RRGGBB>    pixels of the surface; only they are told as changed
//   show <file>                               pixels B, G, R, X of the whole surface, rows from the top
//   pan <frames>                              over a landscape of soft spots, eight pixels a refresh
//   count <frames>                            black and white columns count the frames, one a refresh, lowest
//   bit first
//
// <application>, <title> are bytes in hexadecimal, "-" for none.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <xdg-shell.h>

namespace {

constexpr int counterBits = 12;
constexpr int milliseconds = 20'000; // for anything that the compositor is to do

struct Output {
    std::string name;
    int scale = 1;
};

struct Window {
    wl_display* display = nullptr;
    wl_compositor* compositor = nullptr;
    wl_shm* shm = nullptr;
    xdg_wm_base* shell = nullptr;
    std::map<wl_output*, Output> outputs;

    wl_surface* surface = nullptr;
    xdg_surface* shellSurface = nullptr;
    xdg_toplevel* toplevel = nullptr;
    int width = 320; // points
    int height = 240;
    int scale = 1;
    bool isConfigured = false;
    bool hasSize = false; // the compositor said which
    bool isDrawn = false;
    wl_buffer* buffer = nullptr;
    std::uint32_t* pixels = nullptr;
    int pixelsWide = 0;
    int pixelsHigh = 0;
};

void dispatchUntil(Window& window, const bool& isDone)
{
    for (int waited = 0; !isDone; waited += 10) {
        while (wl_display_prepare_read(window.display) != 0)
            wl_display_dispatch_pending(window.display);
        wl_display_flush(window.display);
        pollfd entry = {wl_display_get_fd(window.display), POLLIN, 0};
        if (poll(&entry, 1, 10) > 0)
            wl_display_read_events(window.display);
        else
            wl_display_cancel_read(window.display);
        if (wl_display_dispatch_pending(window.display) < 0)
            throw std::runtime_error("the compositor is gone");
        if (waited > milliseconds)
            throw std::runtime_error("the compositor does not answer");
    }
}

void makeBuffer(Window& window)
{
    window.pixelsWide = window.width * window.scale;
    window.pixelsHigh = window.height * window.scale;
    const auto size
        = static_cast<std::size_t>(window.pixelsWide) * static_cast<std::size_t>(window.pixelsHigh) * 4;
    const int memory = memfd_create("test-surface", MFD_CLOEXEC);
    if (memory < 0 || ftruncate(memory, static_cast<off_t>(size)) != 0)
        throw std::runtime_error("no memory");
    window.pixels
        = static_cast<std::uint32_t*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0));
    wl_shm_pool* pool = wl_shm_create_pool(window.shm, memory, static_cast<std::int32_t>(size));
    window.buffer = wl_shm_pool_create_buffer(
        pool, 0, window.pixelsWide, window.pixelsHigh, window.pixelsWide * 4, WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(memory);
    std::fill_n(window.pixels,
        static_cast<std::size_t>(window.pixelsWide) * static_cast<std::size_t>(window.pixelsHigh), 0x808080U);
}

void commit(Window& window, int x, int y, int width, int height)
{
    static constexpr wl_callback_listener listener
        = {.done = [](void* data, wl_callback* callback, std::uint32_t) {
              wl_callback_destroy(callback);
              static_cast<Window*>(data)->isDrawn = true;
          }};
    window.isDrawn = false;
    wl_callback_add_listener(wl_surface_frame(window.surface), &listener, &window);
    wl_surface_set_buffer_scale(window.surface, window.scale);
    wl_surface_attach(window.surface, window.buffer, 0, 0);
    wl_surface_damage_buffer(window.surface, x, y, width, height);
    wl_surface_commit(window.surface);
    dispatchUntil(window, window.isDrawn);
}

void commitAll(Window& window)
{
    commit(window, 0, 0, window.pixelsWide, window.pixelsHigh);
}

void fill(Window& window, int x, int y, int width, int height, std::uint32_t colour)
{
    for (int row = y; row < std::min(y + height, window.pixelsHigh); ++row) {
        for (int column = x; column < std::min(x + width, window.pixelsWide); ++column)
            window.pixels[row * window.pixelsWide + column] = colour;
    }
}

std::string bytesFromHexadecimal(const std::string& text)
{
    std::string bytes;
    for (std::size_t at = 0; text != "-" && at + 1 < text.size(); at += 2)
        bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
    return bytes;
}

void connect(Window& window)
{
    static constexpr wl_output_listener outputListener = {
        .geometry = [](void*, wl_output*, int, int, int, int, int, const char*, const char*, int) {},
        .mode = [](void*, wl_output*, unsigned, int, int, int) {},
        .done = [](void*, wl_output*) {},
        .scale = [](void* data, wl_output* output,
                     int scale) { static_cast<Window*>(data)->outputs[output].scale = scale; },
        .name = [](void* data, wl_output* output,
                    const char* name) { static_cast<Window*>(data)->outputs[output].name = name; },
        .description = [](void*, wl_output*, const char*) {},
    };
    static constexpr xdg_wm_base_listener shellListener
        = {.ping = [](void*, xdg_wm_base* shell, std::uint32_t serial) { xdg_wm_base_pong(shell, serial); }};
    static constexpr wl_registry_listener listener = {
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                auto& self = *static_cast<Window*>(data);
                const std::string wanted = interface;
                const auto bind = [&](const wl_interface& type, std::uint32_t version) {
                    return wl_registry_bind(registry, name, &type, version);
                };
                if (wanted == wl_compositor_interface.name)
                    self.compositor = static_cast<wl_compositor*>(bind(wl_compositor_interface, 4));
                if (wanted == wl_shm_interface.name)
                    self.shm = static_cast<wl_shm*>(bind(wl_shm_interface, 1));
                if (wanted == xdg_wm_base_interface.name) {
                    self.shell = static_cast<xdg_wm_base*>(bind(xdg_wm_base_interface, 1));
                    xdg_wm_base_add_listener(self.shell, &shellListener, &self);
                }
                if (wanted == wl_output_interface.name) {
                    auto* output = static_cast<wl_output*>(bind(wl_output_interface, 4));
                    self.outputs[output];
                    wl_output_add_listener(output, &outputListener, &self);
                }
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    window.display = wl_display_connect(nullptr);
    if (!window.display)
        throw std::runtime_error("no compositor");
    wl_registry_add_listener(wl_display_get_registry(window.display), &listener, &window);
    wl_display_roundtrip(window.display);
    wl_display_roundtrip(window.display);
}

void open(
    Window& window, const std::string& outputName, const std::string& application, const std::string& title)
{
    static constexpr xdg_surface_listener surfaceListener
        = {.configure = [](void* data, xdg_surface* surface, std::uint32_t serial) {
              xdg_surface_ack_configure(surface, serial);
              static_cast<Window*>(data)->isConfigured = true;
          }};
    static constexpr xdg_toplevel_listener toplevelListener = {
        .configure =
            [](void* data, xdg_toplevel*, int width, int height, wl_array*) {
                auto& self = *static_cast<Window*>(data);
                if (width > 0 && height > 0) {
                    self.width = width;
                    self.height = height;
                    self.hasSize = true;
                }
            },
        .close = [](void*, xdg_toplevel*) {},
        .configure_bounds = [](void*, xdg_toplevel*, int, int) {},
        .wm_capabilities = [](void*, xdg_toplevel*, wl_array*) {},
    };
    connect(window);
    window.surface = wl_compositor_create_surface(window.compositor);
    window.shellSurface = xdg_wm_base_get_xdg_surface(window.shell, window.surface);
    xdg_surface_add_listener(window.shellSurface, &surfaceListener, &window);
    window.toplevel = xdg_surface_get_toplevel(window.shellSurface);
    xdg_toplevel_add_listener(window.toplevel, &toplevelListener, &window);
    if (!application.empty())
        xdg_toplevel_set_app_id(window.toplevel, application.c_str());
    if (!title.empty())
        xdg_toplevel_set_title(window.toplevel, title.c_str());
    for (const auto& [output, facts] : window.outputs) {
        if (facts.name == outputName) {
            window.scale = facts.scale;
            xdg_toplevel_set_fullscreen(window.toplevel, output);
        }
    }
    wl_surface_commit(window.surface);
    dispatchUntil(window, window.isConfigured);
    makeBuffer(window);
    commitAll(window);
    if (outputName == "-")
        return;
    // Its size is told once it is there.
    dispatchUntil(window, window.hasSize);
    makeBuffer(window);
    commitAll(window);
}

void show(Window& window, const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    const auto size = static_cast<std::streamsize>(window.pixelsWide)
        * static_cast<std::streamsize>(window.pixelsHigh) * 4;
    if (!file.read(reinterpret_cast<char*>(window.pixels), size))
        throw std::runtime_error(
            "the file has no " + std::to_string(window.pixelsWide) + "x" + std::to_string(window.pixelsHigh));
    commitAll(window);
}

void count(Window& window, int frames)
{
    const int width = window.pixelsWide / counterBits;
    for (int frame = 0; frame < frames; ++frame) {
        for (int bit = 0; bit < counterBits; ++bit)
            fill(window, bit * width, 0, width, window.pixelsHigh, (frame >> bit & 1) != 0 ? 0xffffffU : 0U);
        commitAll(window);
    }
}

// Soft spots of many sizes and colours, the same at both ends.
std::vector<std::uint32_t> landscape(int width, int height)
{
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const auto wave = [](int value, int period) {
        const int within = value % period;
        return std::min(within, period - within) * 255 / std::max(1, period / 2);
    };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto red = static_cast<std::uint32_t>(wave(x, width / 6) + wave(y, 170)) / 2;
            const auto green = static_cast<std::uint32_t>(wave(x + y, width / 10) + wave(y, 57)) / 2;
            const auto blue = static_cast<std::uint32_t>((x * 7919 ^ y * 104729) >> 4 & 31) + red / 2;
            pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width)
                + static_cast<std::size_t>(x)]
                = red << 16U | green << 8U | blue;
        }
    }
    return pixels;
}

void pan(Window& window, int frames)
{
    const int width = 2 * window.pixelsWide;
    const auto picture = landscape(width, window.pixelsHigh);
    for (int frame = 0; frame < frames; ++frame) {
        const int start = frame * 8 % window.pixelsWide;
        for (int y = 0; y < window.pixelsHigh; ++y)
            std::memcpy(window.pixels + static_cast<std::ptrdiff_t>(y) * window.pixelsWide,
                picture.data() + static_cast<std::ptrdiff_t>(y) * width + start,
                static_cast<std::size_t>(window.pixelsWide) * 4);
        commitAll(window);
    }
}

void obey(Window& window, const std::string& line)
{
    std::istringstream words(line);
    std::string command;
    words >> command;
    std::string first;
    std::string second;
    std::string third;
    if (command == "open") {
        words >> first >> second >> third;
        open(window, first, bytesFromHexadecimal(second), bytesFromHexadecimal(third));
    } else if (command == "title") {
        words >> first;
        xdg_toplevel_set_title(window.toplevel, bytesFromHexadecimal(first).c_str());
        wl_display_roundtrip(window.display);
    } else if (command == "fill") {
        words >> first;
        fill(window, 0, 0, window.pixelsWide, window.pixelsHigh,
            static_cast<std::uint32_t>(std::stoul(first, nullptr, 16)));
        commitAll(window);
    } else if (command == "rect") {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        words >> x >> y >> width >> height >> first;
        fill(window, x, y, width, height, static_cast<std::uint32_t>(std::stoul(first, nullptr, 16)));
        commit(window, x, y, width, height);
    } else if (command == "show") {
        words >> first;
        show(window, first);
    } else if (command == "pan") {
        int frames = 0;
        words >> frames;
        pan(window, frames);
    } else if (command == "count") {
        int frames = 0;
        words >> frames;
        count(window, frames);
    } else {
        throw std::runtime_error("unknown command");
    }
}

} // namespace

int main()
{
    Window window;
    std::string line;
    while (std::getline(std::cin, line)) {
        try {
            obey(window, line);
            std::cout << "ok" << std::endl;
        } catch (const std::exception& error) {
            std::cout << "error " << error.what() << std::endl;
        }
    }
    return 0;
}
