// A compositor without a screen whose pictures clients may capture by ext-image-copy-capture, and that
// misbehaves as a test wants it to.
//
//     glimto-test-compositor <socket> [no-clipboard]
//
// Writes "ready" once it can be connected to, then reads commands, a line each, and answers each by one line,
// "ok", with what was asked for, or "error <text>". Ends with its input. A <name> is that of an output or the
// identifier of a window, sizes are pixels, <transform> a number of wl_output_transform.
//
//   output <name> <width> <height> <x> <y> <scale> <transform>
//   window <name> <width> <height> <application> <title>    bytes in hexadecimal, "-" for none
//   fill <name> <RRGGBB>
//   rect <name> <x> <y> <width> <height> <RRGGBB>    only this is told as changed
//   show <name> <file>                               pixels B, G, R, X, rows from the top
//   resize <name> <width> <height> <RRGGBB>
//   cursor <name> <x> <y> <width> <height>           white
//   formats <name> [<number>]...                     of wl_shm
//   vague <name>                                     a picture without a word of what has changed
//   hold <name>, go <name>                           captures are not answered, and answered again
//   lose <name>                                      so many captures under way are never answered
//   fail <name> <reason> <count>                     the next captures
//   stop <name>                                      ends its captures
//   remove <name>                                    and takes it from the session
//   count <name>       sessions, captures that succeeded, pixels copied
//   paste <file>, take    what is on the clipboard goes into the file; another program takes it
#include <cstdint>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include <unistd.h>
#include <wayland-server.h>

#include "TestClipboard.h"
#include "TestDesktop.h"
#include "TestOlderProtocols.h"
#include "TestSource.h"

namespace {

using namespace glimto;

class TestCompositor {
public:
    TestCompositor(const std::string& socket, bool hasClipboard)
        : display_(wl_display_create())
        , desktop_(display_)
        , seat_(display_, hasClipboard)
    {
        wl_display_init_shm(display_);
        offerOlderProtocols(display_, hasClipboard);
        offerCapture(display_, [this](wl_resource* resource) { return desktop_.sourceOf(resource); });
        if (wl_display_add_socket(display_, socket.c_str()) != 0)
            throw std::runtime_error("no socket");
        wl_event_loop_add_fd(
            wl_display_get_event_loop(display_), STDIN_FILENO, WL_EVENT_READABLE | WL_EVENT_HANGUP,
            [](int, std::uint32_t, void* self) { return static_cast<TestCompositor*>(self)->read(); }, this);
    }

    void run()
    {
        std::cout << "ready" << std::endl;
        wl_display_run(display_);
    }

private:
    int read()
    {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof(bytes));
        if (count <= 0) {
            wl_display_terminate(display_);
            return 0;
        }
        text_.append(bytes, static_cast<std::size_t>(count));
        for (std::size_t end = 0; (end = text_.find('\n')) != std::string::npos;) {
            std::istringstream words(text_.substr(0, end));
            text_.erase(0, end + 1);
            try {
                const std::string result = obey(words);
                std::cout << "ok" << (result.empty() ? "" : " ") << result << std::endl;
            } catch (const std::exception& error) {
                std::cout << "error " << error.what() << std::endl;
            }
        }
        return 0;
    }

    std::string obey(std::istringstream& words)
    {
        const auto command = next<std::string>(words);
        if (command == "take")
            return seat_.take(), "";
        const auto name = next<std::string>(words);
        if (command == "output")
            return addOutput(name, words), "";
        if (command == "window")
            return addWindow(name, words), "";
        if (command == "paste")
            return seat_.paste(name), "";
        TestSource* found = desktop_.sourceNamed(name);
        if (!found)
            throw std::runtime_error("there is no " + name);
        TestSource& source = *found;
        if (command == "fill")
            source.paint({0, 0, source.width, source.height}, colour(words));
        else if (command == "rect")
            paint(source, words);
        else if (command == "show")
            show(source, next<std::string>(words));
        else if (command == "resize")
            resize(source, words);
        else if (command == "cursor")
            source.moveCursor(rect(words));
        else if (command == "formats")
            changeFormats(source, words);
        else if (command == "vague")
            source.isVague = true, source.didChange({});
        else if (command == "hold")
            source.isHeld = true;
        else if (command == "go")
            source.isHeld = false, source.goOn();
        else if (command == "lose")
            return std::to_string(source.loseFrames());
        else if (command == "fail")
            fail(source, words);
        else if (command == "stop")
            source.stop();
        else if (command == "remove")
            source.stop(), desktop_.remove(name);
        else if (command == "count")
            return std::to_string(source.sessions.size()) + " " + std::to_string(source.captures) + " "
                + std::to_string(source.copiedPixels);
        else
            throw std::runtime_error("unknown command");
        return "";
    }

    template <typename Value> static Value next(std::istringstream& words)
    {
        Value value;
        if (!(words >> value))
            throw std::runtime_error("a word is missing");
        return value;
    }

    static std::uint32_t colour(std::istringstream& words)
    {
        return static_cast<std::uint32_t>(std::stoul(next<std::string>(words), nullptr, 16));
    }

    static TestRect rect(std::istringstream& words)
    {
        TestRect rect;
        rect.x = next<int>(words);
        rect.y = next<int>(words);
        rect.width = next<int>(words);
        rect.height = next<int>(words);
        return rect;
    }

    static std::string bytes(const std::string& hexadecimal)
    {
        std::string bytes;
        for (std::size_t at = 0; hexadecimal != "-" && at + 1 < hexadecimal.size(); at += 2)
            bytes += static_cast<char>(std::stoi(hexadecimal.substr(at, 2), nullptr, 16));
        return bytes;
    }

    static void nameAndSize(TestSource& source, const std::string& name, std::istringstream& words)
    {
        source.name = name;
        const int width = next<int>(words);
        source.resize(width, next<int>(words), 0);
    }

    void addOutput(const std::string& name, std::istringstream& words)
    {
        auto output = std::make_unique<TestOutput>();
        nameAndSize(output->source, name, words);
        output->x = next<int>(words);
        output->y = next<int>(words);
        output->scale = next<int>(words);
        output->source.transform = next<std::uint32_t>(words);
        desktop_.addOutput(std::move(output));
    }

    void addWindow(const std::string& name, std::istringstream& words)
    {
        auto window = std::make_unique<TestWindow>();
        nameAndSize(window->source, name, words);
        window->application = bytes(next<std::string>(words));
        window->title = bytes(next<std::string>(words));
        desktop_.addWindow(std::move(window));
    }

    static void paint(TestSource& source, std::istringstream& words)
    {
        const TestRect where = rect(words);
        source.paint(where, colour(words));
    }

    static void show(TestSource& source, const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        if (!file.read(reinterpret_cast<char*>(source.pixels.data()),
                static_cast<std::streamsize>(source.pixels.size() * sizeof(std::uint32_t))))
            throw std::runtime_error("the file is too short");
        source.didChange({0, 0, source.width, source.height});
    }

    void resize(TestSource& source, std::istringstream& words)
    {
        const int width = next<int>(words);
        const int height = next<int>(words);
        source.resize(width, height, colour(words));
        if (TestOutput* output = desktop_.outputNamed(source.name))
            desktop_.tellOutput(*output);
    }

    static void changeFormats(TestSource& source, std::istringstream& words)
    {
        source.formats.clear();
        for (std::uint32_t format = 0; words >> format;)
            source.formats.push_back(format);
        source.tellConstraints();
        source.goOn();
    }

    static void fail(TestSource& source, std::istringstream& words)
    {
        source.failureReason = next<std::uint32_t>(words);
        source.failures = next<int>(words);
        source.goOn();
    }

    wl_display* display_;
    TestDesktop desktop_;
    TestSeat seat_;
    std::string text_;
};

} // namespace

int main(int argumentCount, char** arguments)
{
    if (argumentCount < 2)
        return 2;
    const bool hasClipboard = argumentCount < 3 || std::string(arguments[2]) != "no-clipboard";
    TestCompositor(arguments[1], hasClipboard).run();
    return 0;
}
