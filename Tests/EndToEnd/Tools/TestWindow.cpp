// Opens windows and paints known things in them, as the lines on its standard input say. Each line is
// answered by one line, "ok <before> <after> [<result>]" or "error <text>", where the two times are the
// monotonic nanoseconds before the server was asked and after it had done it. Ends with its input.
//
//   open <width>x<height>+<x>+<y> <class> <title> <pid> <managed|override> <paint>   result: window id
//   paint <id> <paint>             <paint> is RRGGBB, or "quadrants": red, green, blue, white by rows
//   clock <id> <milliseconds>      black and white bars count the steps since now, highest bit first
//   still <id>                     ends the clock
//   move <id> <x> <y>    resize <id> <width> <height>    raise <id>    lower <id>
//   map <id>    unmap <id>    iconify <id>    destroy <id>
//   where <id>                     result: <x> <y> <width> <height> on the screen
//
// <class>, <title> are bytes in hexadecimal, "-" for none; a <pid> of 0 sets no pid property.

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <string_view>

#include <poll.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

constexpr int clockBits = 12;

template <typename Reply> using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply> ReplyPointer<Reply> owned(Reply* reply)
{
    return {reply, &std::free};
}

std::int64_t now()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string bytesFromHexadecimal(std::string_view text)
{
    std::string bytes;
    if (text == "-")
        return bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2)
        bytes += static_cast<char>(std::stoi(std::string(text.substr(at, 2)), nullptr, 16));
    return bytes;
}

struct Geometry {
    int width = 0;
    int height = 0;
    int x = 0;
    int y = 0;
};

// Names bits of protocol requests as what they are on the wire.
std::uint32_t wire(int value)
{
    return static_cast<std::uint32_t>(value);
}

class Windows {
public:
    Windows()
        : xcb_(xcb_connect(nullptr, nullptr), &xcb_disconnect)
    {
        if (xcb_connection_has_error(xcb_.get()))
            throw std::runtime_error("no X server");
        screen_ = xcb_setup_roots_iterator(xcb_get_setup(xcb_.get())).data;
        graphics_ = xcb_generate_id(xcb_.get());
        xcb_create_gc(xcb_.get(), graphics_, screen_->root, 0, nullptr);
    }

    // Does what `line` says and answers.
    std::string answer(const std::string& line)
    {
        const std::int64_t before = now();
        try {
            std::istringstream words(line);
            const std::string result = obey(words);
            sync();
            return "ok " + std::to_string(before) + " " + std::to_string(now())
                + (result.empty() ? "" : " " + result);
        } catch (const std::exception& error) {
            return std::string("error ") + error.what();
        }
    }

    int fileDescriptor() const { return xcb_get_file_descriptor(xcb_.get()); }

    // Milliseconds until a clock steps next, negative when none runs.
    int millisecondsUntilStep() const
    {
        std::int64_t next = -1;
        for (const auto& [window, clock] : clocks_) {
            const std::int64_t left = clock.nextStep() - now();
            next = next < 0 ? std::max<std::int64_t>(left, 0)
                            : std::min(next, std::max<std::int64_t>(left, 0));
        }
        return next < 0 ? -1 : static_cast<int>(next / 1'000'000);
    }

    void stepClocks()
    {
        for (auto& [window, clock] : clocks_) {
            if (now() >= clock.nextStep())
                paintClock(window, clock);
        }
    }

    void handleEvents()
    {
        while (const auto event = owned(xcb_poll_for_event(xcb_.get())))
            handle(*event);
        if (xcb_connection_has_error(xcb_.get()))
            throw std::runtime_error("the X server is gone");
    }

private:
    struct Clock {
        std::int64_t start = 0;
        std::int64_t step = 0;
        std::int64_t shown = -1;

        std::int64_t nextStep() const { return start + (shown + 1) * step; }
    };

    std::string obey(std::istringstream& words)
    {
        std::string command;
        words >> command;
        if (command == "open")
            return open(words);
        if (command == "grab-server") {
            grabServer(std::chrono::milliseconds(numberFrom(words)));
            return {};
        }
        const xcb_window_t window = idFrom(words);
        if (command == "paint")
            paint(window, wordFrom(words));
        else if (command == "clock")
            startClock(window, numberFrom(words));
        else if (command == "still")
            clocks_.erase(window);
        else if (command == "move")
            configure(window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, words);
        else if (command == "resize")
            configure(window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, words);
        else if (command == "raise")
            restack(window, XCB_STACK_MODE_ABOVE);
        else if (command == "lower")
            restack(window, XCB_STACK_MODE_BELOW);
        else if (command == "map")
            xcb_map_window(xcb_.get(), window);
        else if (command == "unmap")
            xcb_unmap_window(xcb_.get(), window);
        else if (command == "iconify")
            iconify(window);
        else if (command == "destroy")
            destroy(window);
        else if (command == "grab")
            grab(window);
        else if (command == "where")
            return where(window);
        else
            throw std::runtime_error("unknown command " + command);
        return {};
    }

    // Keeps every other client waiting, as a window manager does while it drags an outline.
    void grabServer(std::chrono::milliseconds duration)
    {
        xcb_grab_server(xcb_.get());
        xcb_flush(xcb_.get());
        std::this_thread::sleep_for(duration);
        xcb_ungrab_server(xcb_.get());
        xcb_flush(xcb_.get());
    }

    static std::string wordFrom(std::istringstream& words)
    {
        std::string word;
        if (!(words >> word))
            throw std::runtime_error("a word is missing");
        return word;
    }

    static int numberFrom(std::istringstream& words) { return std::stoi(wordFrom(words)); }

    static xcb_window_t idFrom(std::istringstream& words)
    {
        return static_cast<xcb_window_t>(std::stoul(wordFrom(words)));
    }

    static Geometry geometryFrom(const std::string& text)
    {
        Geometry geometry;
        if (std::sscanf(
                text.c_str(), "%dx%d%d%d", &geometry.width, &geometry.height, &geometry.x, &geometry.y)
            != 4)
            throw std::runtime_error("bad geometry " + text);
        return geometry;
    }

    std::string open(std::istringstream& words)
    {
        const Geometry geometry = geometryFrom(wordFrom(words));
        const std::string windowClass = bytesFromHexadecimal(wordFrom(words));
        const std::string title = bytesFromHexadecimal(wordFrom(words));
        const int pid = numberFrom(words);
        const bool overridesRedirect = wordFrom(words) == "override";
        const std::string picture = wordFrom(words);

        const xcb_window_t window = xcb_generate_id(xcb_.get());
        const std::array<std::uint32_t, 3> values
            = {screen_->black_pixel, overridesRedirect ? 1U : 0U, XCB_EVENT_MASK_STRUCTURE_NOTIFY};
        xcb_create_window(xcb_.get(), XCB_COPY_FROM_PARENT, window, screen_->root,
            static_cast<std::int16_t>(geometry.x), static_cast<std::int16_t>(geometry.y),
            static_cast<std::uint16_t>(geometry.width), static_cast<std::uint16_t>(geometry.height), 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, screen_->root_visual,
            XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
        describe(window, windowClass, title, pid);
        keepPlace(window, geometry);
        sizes_[window]
            = {static_cast<std::uint16_t>(geometry.width), static_cast<std::uint16_t>(geometry.height)};
        paint(window, picture);
        mapAndWait(window);
        return std::to_string(window);
    }

    void describe(xcb_window_t window, const std::string& windowClass, const std::string& title, int pid)
    {
        if (!windowClass.empty()) {
            const std::string both = windowClass + '\0' + windowClass + '\0';
            setProperty(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, both.size(), both.data());
        }
        if (!title.empty()) {
            setProperty(window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, title.size(), title.data());
            setProperty(window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8, title.size(), title.data());
        }
        if (pid != 0) {
            const std::uint32_t value = wire(pid);
            setProperty(window, atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &value);
        }
    }

    // The place as asked for, and no decoration that would shift it.
    void keepPlace(xcb_window_t window, const Geometry& geometry)
    {
        constexpr std::uint32_t userPositionAndSize = 1U | 2U;
        std::array<std::uint32_t, 18> hints = {userPositionAndSize, wire(geometry.x), wire(geometry.y),
            wire(geometry.width), wire(geometry.height)};
        setProperty(window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
        constexpr std::uint32_t decorationsAreSet = 2;
        const std::array<std::uint32_t, 5> motifHints = {decorationsAreSet, 0, 0, 0, 0};
        const xcb_atom_t motif = atom("_MOTIF_WM_HINTS");
        setProperty(window, motif, motif, 32, motifHints.size(), motifHints.data());
    }

    void setProperty(xcb_window_t window, xcb_atom_t name, xcb_atom_t type, std::uint8_t format,
        std::size_t count, const void* data)
    {
        xcb_change_property(xcb_.get(), XCB_PROP_MODE_REPLACE, window, name, type, format,
            static_cast<std::uint32_t>(count), data);
    }

    xcb_atom_t atom(std::string_view name)
    {
        const auto cookie
            = xcb_intern_atom(xcb_.get(), 0, static_cast<std::uint16_t>(name.size()), name.data());
        const auto reply = owned(xcb_intern_atom_reply(xcb_.get(), cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    // A window manager that is only just starting may miss the first request.
    void mapAndWait(xcb_window_t window)
    {
        constexpr int mostRequests = 50;
        for (int request = 0; request < mostRequests; ++request) {
            xcb_map_window(xcb_.get(), window);
            if (isMappedWithin(window, 200'000'000))
                return;
        }
        throw std::runtime_error("the window was not mapped");
    }

    bool isMappedWithin(xcb_window_t window, std::int64_t nanoseconds)
    {
        xcb_flush(xcb_.get());
        const std::int64_t deadline = now() + nanoseconds;
        while (now() < deadline) {
            while (const auto event = owned(xcb_poll_for_event(xcb_.get()))) {
                handle(*event);
                if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY
                    && reinterpret_cast<xcb_map_notify_event_t&>(*event).window == window)
                    return true;
            }
            pollfd entry = {.fd = fileDescriptor(), .events = POLLIN, .revents = 0};
            ::poll(&entry, 1, 50);
        }
        return false;
    }

    void paint(xcb_window_t window, const std::string& picture)
    {
        pictures_[window] = picture;
        if (picture == "quadrants") {
            paintQuadrants(window);
        } else {
            const auto pixel = static_cast<std::uint32_t>(std::stoul(picture, nullptr, 16));
            xcb_change_window_attributes(xcb_.get(), window, XCB_CW_BACK_PIXEL, &pixel);
        }
        xcb_clear_area(xcb_.get(), 0, window, 0, 0, 0, 0);
    }

    void paintQuadrants(xcb_window_t window)
    {
        const Geometry size = sizeOf(window);
        const auto halfWidth = static_cast<std::uint16_t>(size.width / 2);
        const auto halfHeight = static_cast<std::uint16_t>(size.height / 2);
        const auto restWidth = static_cast<std::uint16_t>(size.width - halfWidth);
        const auto restHeight = static_cast<std::uint16_t>(size.height - halfHeight);
        const auto middleX = static_cast<std::int16_t>(halfWidth);
        const auto middleY = static_cast<std::int16_t>(halfHeight);
        const xcb_pixmap_t pixmap = makePixmap(window, size);
        fill(pixmap, 0xff0000, {0, 0, halfWidth, halfHeight});
        fill(pixmap, 0x00ff00, {middleX, 0, restWidth, halfHeight});
        fill(pixmap, 0x0000ff, {0, middleY, halfWidth, restHeight});
        fill(pixmap, 0xffffff, {middleX, middleY, restWidth, restHeight});
        xcb_change_window_attributes(xcb_.get(), window, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_free_pixmap(xcb_.get(), pixmap);
    }

    xcb_pixmap_t makePixmap(xcb_window_t window, const Geometry& size)
    {
        const xcb_pixmap_t pixmap = xcb_generate_id(xcb_.get());
        xcb_create_pixmap(xcb_.get(), screen_->root_depth, pixmap, window,
            static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height));
        return pixmap;
    }

    void fill(xcb_drawable_t drawable, std::uint32_t pixel, const xcb_rectangle_t& rectangle)
    {
        xcb_change_gc(xcb_.get(), graphics_, XCB_GC_FOREGROUND, &pixel);
        xcb_poly_fill_rectangle(xcb_.get(), drawable, graphics_, 1, &rectangle);
    }

    void startClock(xcb_window_t window, int stepMilliseconds)
    {
        clocks_[window] = {.start = now(), .step = std::int64_t{stepMilliseconds} * 1'000'000};
        paintClock(window, clocks_[window]);
    }

    // One request changes the whole window, so that no picture of it shows half a step.
    void paintClock(xcb_window_t window, Clock& clock)
    {
        clock.shown = (now() - clock.start) / clock.step;
        const Geometry size = sizeOf(window);
        const xcb_pixmap_t pixmap = makePixmap(window, size);
        for (int bit = 0; bit < clockBits; ++bit) {
            const bool isSet = (clock.shown >> (clockBits - 1 - bit)) & 1;
            const int left = size.width * bit / clockBits;
            const int right = size.width * (bit + 1) / clockBits;
            fill(pixmap, isSet ? 0xffffff : 0x000000,
                {static_cast<std::int16_t>(left), 0, static_cast<std::uint16_t>(right - left),
                    static_cast<std::uint16_t>(size.height)});
        }
        xcb_copy_area(xcb_.get(), pixmap, window, graphics_, 0, 0, 0, 0,
            static_cast<std::uint16_t>(size.width), static_cast<std::uint16_t>(size.height));
        xcb_free_pixmap(xcb_.get(), pixmap);
        xcb_flush(xcb_.get());
    }

    void configure(xcb_window_t window, int mask, std::istringstream& words)
    {
        const std::array<std::uint32_t, 2> values = {wire(numberFrom(words)), wire(numberFrom(words))};
        xcb_configure_window(xcb_.get(), window, static_cast<std::uint16_t>(mask), values.data());
    }

    void restack(xcb_window_t window, std::uint32_t mode)
    {
        xcb_configure_window(xcb_.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    }

    void iconify(xcb_window_t window)
    {
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atom("WM_CHANGE_STATE");
        message.data.data32[0] = 3; // IconicState
        xcb_send_event(xcb_.get(), 0, screen_->root,
            XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
            reinterpret_cast<const char*>(&message));
    }

    void destroy(xcb_window_t window)
    {
        clocks_.erase(window);
        pictures_.erase(window);
        sizes_.erase(window);
        xcb_destroy_window(xcb_.get(), window);
    }

    // From now on all clicks and moves of the pointer go to this window alone.
    void grab(xcb_window_t window)
    {
        constexpr std::uint16_t mask
            = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
        const auto cookie = xcb_grab_pointer(xcb_.get(), 0, window, mask, XCB_GRAB_MODE_ASYNC,
            XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
        const auto reply = owned(xcb_grab_pointer_reply(xcb_.get(), cookie, nullptr));
        if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS)
            throw std::runtime_error("the pointer could not be grabbed");
    }

    std::string where(xcb_window_t window)
    {
        const Geometry size = sizeOf(window);
        const auto cookie = xcb_translate_coordinates(xcb_.get(), window, screen_->root, 0, 0);
        const auto place = owned(xcb_translate_coordinates_reply(xcb_.get(), cookie, nullptr));
        if (!place)
            throw std::runtime_error("no such window");
        return std::to_string(place->dst_x) + " " + std::to_string(place->dst_y) + " "
            + std::to_string(size.width) + " " + std::to_string(size.height);
    }

    Geometry sizeOf(xcb_window_t window)
    {
        const auto reply
            = owned(xcb_get_geometry_reply(xcb_.get(), xcb_get_geometry(xcb_.get(), window), nullptr));
        if (!reply)
            throw std::runtime_error("no such window");
        return {.width = reply->width, .height = reply->height};
    }

    // A window manager resizes a window after it was asked to: what is painted follows.
    void handle(xcb_generic_event_t& event)
    {
        if ((event.response_type & 0x7f) != XCB_CONFIGURE_NOTIFY)
            return;
        const auto& configured = reinterpret_cast<xcb_configure_notify_event_t&>(event);
        const auto size = std::pair(configured.width, configured.height);
        if (!pictures_.contains(configured.window) || sizes_[configured.window] == size)
            return;
        sizes_[configured.window] = size;
        if (!clocks_.contains(configured.window))
            paint(configured.window, pictures_[configured.window]);
        xcb_flush(xcb_.get());
    }

    void sync()
    {
        owned(xcb_get_input_focus_reply(xcb_.get(), xcb_get_input_focus(xcb_.get()), nullptr));
        if (xcb_connection_has_error(xcb_.get()))
            throw std::runtime_error("the X server is gone");
    }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> xcb_;
    xcb_screen_t* screen_ = nullptr;
    xcb_gcontext_t graphics_ = XCB_NONE;
    std::map<xcb_window_t, std::string> pictures_;
    std::map<xcb_window_t, std::pair<std::uint16_t, std::uint16_t>> sizes_;
    std::map<xcb_window_t, Clock> clocks_;
};

// The lines that came in, one after the other.
class Commands {
public:
    // False once the input has ended.
    bool read()
    {
        std::array<char, 4096> buffer;
        const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            return true;
        if (count <= 0)
            return false;
        text_.append(buffer.data(), static_cast<std::size_t>(count));
        return true;
    }

    std::optional<std::string> next()
    {
        const auto end = text_.find('\n');
        if (end == std::string::npos)
            return std::nullopt;
        std::string line = text_.substr(0, end);
        text_.erase(0, end + 1);
        return line;
    }

private:
    std::string text_;
};

void serve(Windows& windows)
{
    Commands commands;
    while (true) {
        // What came together with an answer of the server is in memory already: no wait would end for it.
        windows.handleEvents();
        std::array<pollfd, 2> entries = {{
            {.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
            {.fd = windows.fileDescriptor(), .events = POLLIN, .revents = 0},
        }};
        ::poll(entries.data(), entries.size(), windows.millisecondsUntilStep());
        windows.handleEvents();
        windows.stepClocks();
        if (entries[0].revents != 0 && !commands.read())
            return;
        while (const auto line = commands.next())
            std::cout << windows.answer(*line) << std::endl;
    }
}

} // namespace

int main()
{
    try {
        Windows windows;
        serve(windows);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "glimto-test-window: " << error.what() << '\n';
        return 1;
    }
}
