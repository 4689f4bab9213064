// Moves the pointer and presses its buttons as a user would, as the lines on its standard input say. Each
// line holds any number of steps, which the server gets at once, and is answered by one line,
// "ok <before> <after>" or "error <text>": the server's own milliseconds, which no waiting of this process
// or of its peer is a part of, just before the first step and just after the last one. Ends with its input.
//
//   to <x> <y>         a device moves the pointer to that place
//   by <dx> <dy>       a device moves it by that many pixels
//   warp <x> <y>       a program sets it down there; no device takes part
//   press <button>     release <button>
//   wait <milliseconds>
//
// "press 1 warp 200 100 release 1" drags from wherever the pointer is to (200, 100) in an instant.

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include <time.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

class Pointer {
public:
    Pointer()
        : xcb_(xcb_connect(nullptr, nullptr), &xcb_disconnect)
    {
        if (xcb_connection_has_error(xcb_.get()) != 0)
            throw std::runtime_error("no X server");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(xcb_.get())).data->root;
        window_ = xcb_generate_id(xcb_.get());
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(xcb_.get(), 0, window_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
            XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    }

    std::string answer(const std::string& line)
    {
        std::istringstream words(line);
        askForTime();
        for (std::string word; words >> word;)
            step(word, words);
        askForTime();
        const auto before = time();
        const auto after = time();
        return "ok " + std::to_string(before) + ' ' + std::to_string(after);
    }

private:
    void step(const std::string& word, std::istringstream& words)
    {
        const auto x = next(words);
        if (word == "press")
            return fake(XCB_BUTTON_PRESS, x, 0, 0);
        if (word == "release")
            return fake(XCB_BUTTON_RELEASE, x, 0, 0);
        if (word == "wait")
            return wait(x);
        const auto y = next(words);
        if (word == "to")
            fake(XCB_MOTION_NOTIFY, 0, x, y);
        else if (word == "by")
            fake(XCB_MOTION_NOTIFY, 1, x, y);
        else if (word == "warp")
            xcb_warp_pointer(xcb_.get(), XCB_NONE, root_, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                static_cast<std::int16_t>(y));
        else
            throw std::runtime_error("unknown step " + word);
    }

    static int next(std::istringstream& words)
    {
        int number = 0;
        if (!(words >> number))
            throw std::runtime_error("a number is missing");
        return number;
    }

    void fake(std::uint8_t type, int detail, int x, int y)
    {
        xcb_test_fake_input(xcb_.get(), type, static_cast<std::uint8_t>(detail), XCB_CURRENT_TIME, root_,
            static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    }

    void wait(int milliseconds)
    {
        xcb_flush(xcb_.get());
        const timespec time = {.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1'000'000L};
        ::nanosleep(&time, nullptr);
    }

    // A property's change carries the time at which the server made it.
    void askForTime()
    {
        xcb_change_property(
            xcb_.get(), XCB_PROP_MODE_APPEND, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    }

    std::uint32_t time()
    {
        xcb_flush(xcb_.get());
        while (true) {
            const std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
                xcb_wait_for_event(xcb_.get()), &std::free);
            if (!event)
                throw std::runtime_error("the X server is gone");
            if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY)
                return reinterpret_cast<xcb_property_notify_event_t&>(*event).time;
        }
    }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> xcb_;
    xcb_window_t root_ = XCB_NONE;
    xcb_window_t window_ = XCB_NONE;
};

} // namespace

int main()
{
    try {
        Pointer pointer;
        for (std::string line; std::getline(std::cin, line);)
            std::cout << pointer.answer(line) << std::endl;
        return 0;
    } catch (const std::exception& error) {
        std::cout << "error " << error.what() << std::endl;
        return 1;
    }
}
