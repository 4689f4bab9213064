// A desktop portal that shares a screen which a test draws on, and that misbehaves as the test wants it to.
//
//     glimto-test-portal [--option value]...
//
// It reads commands from standard input, a line each, and writes what happens to standard output. Options:
//
//     --role portal|backend        the portal itself, or the part of a desktop behind xdg-desktop-portal
//     --answer grant|deny|fail|ask what Start is answered; with "ask" the commands "grant" and "deny" say it
//     --hang, --die, --refuse, --garbage, --orphan <method>   no answer, the end, an error, nonsense, an end
//                                  after the answer to the call and before the response
//     --screencast no              nobody here shares screens
//     --version, --types, --cursor-modes <number>
//     --size WxH, --points WxH, --position X,Y, --format BGRx, --memory sealed|unsealed|servers, --padding N,
//     --offset N, --crop "X Y W H"
//
// Commands: pattern N; paint X Y W H RRGGBB; send; pointer X Y; corrupt HOW; resize W H; crop X Y W H;
// animate FPS; still; grant; deny; close; stop; vanish (the name leaves the bus); quit.
#include <array>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include "TestScreen.h"

namespace {

using glimto::TestScreen;

const char* const desktopPath = "/org/freedesktop/portal/desktop";

void log(const std::string& line)
{
    std::cout << line << std::endl;
}

class TestPortal {
public:
    explicit TestPortal(std::map<std::string, std::string> options)
        : options_(std::move(options))
    {
        pw_init(nullptr, nullptr);
        loop_ = pw_loop_new(nullptr);
        if (sd_bus_open_user(&bus_) < 0) {
            log("no bus");
            std::_Exit(1);
        }
        sd_bus_add_object(bus_, nullptr, desktopPath, &TestPortal::receive, this);
        sd_bus_add_fallback(bus_, nullptr, desktopPath, &TestPortal::receive, this);
        name_ = isBackend() ? "org.freedesktop.impl.portal.desktop.glimto_test"
                            : "org.freedesktop.portal.Desktop";
        if (sd_bus_request_name(bus_, name_.c_str(), 0) < 0) {
            log("no name");
            std::_Exit(1);
        }
    }

    void run()
    {
        pw_loop_enter(loop_);
        handleBus();
        busSource_ = pw_loop_add_io(
            loop_, sd_bus_get_fd(bus_), SPA_IO_IN, false,
            [](void* self, int, std::uint32_t) { static_cast<TestPortal*>(self)->handleBus(); }, this);
        pw_loop_add_io(
            loop_, STDIN_FILENO, SPA_IO_IN | SPA_IO_HUP, false,
            [](void* self, int, std::uint32_t) { static_cast<TestPortal*>(self)->readCommands(); }, this);
        timer_ = pw_loop_add_timer(
            loop_, [](void* self, std::uint64_t) { static_cast<TestPortal*>(self)->animate(); }, this);
        log("ready");
        while (pw_loop_iterate(loop_, -1) >= 0) {
            handleBus();
        }
    }

private:
    // How the question that is asked is answered.
    using Answer
        = std::function<void(std::uint32_t code, const std::function<void(sd_bus_message*)>& results)>;

    std::string option(const std::string& name, const std::string& fallback = {}) const
    {
        const auto found = options_.find(name);
        return found == options_.end() ? fallback : found->second;
    }
    bool isBackend() const { return option("role") == "backend"; }
    std::uint32_t number(const std::string& name, std::uint32_t fallback) const
    {
        const std::string text = option(name);
        return text.empty() ? fallback : static_cast<std::uint32_t>(std::stoul(text));
    }

    void handleBus()
    {
        int result = 0;
        while ((result = sd_bus_process(bus_, nullptr)) > 0) { }
        sd_bus_flush(bus_);
    }

    static int receive(sd_bus_message* message, void* self, sd_bus_error*)
    {
        return static_cast<TestPortal*>(self)->dispatch(message);
    }

    int dispatch(sd_bus_message* message)
    {
        if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "GetAll") > 0)
            return properties(message, false);
        if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Properties", "Get") > 0)
            return properties(message, true);
        const char* interface = sd_bus_message_get_interface(message);
        if (!interface || std::strncmp(interface, "org.freedesktop.", 16) != 0)
            return 0;
        const std::string member = sd_bus_message_get_member(message);
        if (member == "Close") {
            const std::string what = std::strstr(interface, "Session") ? "session closed" : "request closed";
            log(what);
            if (what == "session closed")
                screen_.reset();
            return sd_bus_reply_method_return(message, "");
        }
        if (option("die") == member)
            std::_Exit(3);
        if (option("hang") == member) {
            log("hanging " + member);
            return 1;
        }
        if (option("refuse") == member)
            return sd_bus_reply_method_errorf(
                message, "org.freedesktop.portal.Error.Failed", "refused\nby \x1b[31mthe test");
        if (member == "CreateSession")
            return createSession(message);
        if (member == "SelectSources")
            return selectSources(message);
        if (member == "Start")
            return start(message);
        if (member == "OpenPipeWireRemote")
            return openRemote(message);
        return 0;
    }

    int properties(sd_bus_message* message, bool isOne)
    {
        const char* interface = nullptr;
        sd_bus_message_read(message, "s", &interface);
        if (option("hang") == "properties") {
            log("hanging properties");
            return 1;
        }
        if (option("screencast") == "no" || !std::strstr(interface, "ScreenCast"))
            return sd_bus_reply_method_errorf(
                message, "org.freedesktop.DBus.Error.InvalidArgs", "No such interface");
        const std::map<std::string, std::uint32_t> values
            = {{"version", number("version", 4)}, {"AvailableSourceTypes", number("types", 3)},
                {"AvailableCursorModes", number("cursor-modes", 7)}};
        if (isOne) {
            const char* name = nullptr;
            sd_bus_message_read(message, "s", &name);
            return sd_bus_reply_method_return(message, "v", "u", values.at(name));
        }
        sd_bus_message* reply = nullptr;
        sd_bus_message_new_method_return(message, &reply);
        sd_bus_message_open_container(reply, 'a', "{sv}");
        for (const auto& [name, value] : values)
            sd_bus_message_append(reply, "{sv}", name.c_str(), "u", value);
        sd_bus_message_close_container(reply);
        const int result = sd_bus_send(bus_, reply, nullptr);
        sd_bus_message_unref(reply);
        return result;
    }

    // The options of a call, all as text.
    std::map<std::string, std::string> readOptions(sd_bus_message* message)
    {
        std::map<std::string, std::string> found;
        sd_bus_message_enter_container(message, 'a', "{sv}");
        while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
            const char* key = nullptr;
            sd_bus_message_read(message, "s", &key);
            const char* type = nullptr;
            char kind = 0;
            sd_bus_message_peek_type(message, &kind, &type);
            const std::string contents = type ? type : "";
            if (contents == "u") {
                std::uint32_t value = 0;
                sd_bus_message_read(message, "v", "u", &value);
                found[key] = std::to_string(value);
            } else if (contents == "s") {
                const char* value = nullptr;
                sd_bus_message_read(message, "v", "s", &value);
                found[key] = value;
            } else if (contents == "(suv)") {
                // What a backend gave for restoring comes back to it.
                sd_bus_message_skip(message, "v");
                found[key] = "data";
            } else {
                sd_bus_message_skip(message, "v");
            }
            sd_bus_message_exit_container(message);
        }
        sd_bus_message_exit_container(message);
        return found;
    }

    // Reads the paths that a call of a backend begins with.
    std::string readPath(sd_bus_message* message)
    {
        const char* path = nullptr;
        sd_bus_message_read(message, "o", &path);
        return path;
    }

    static std::string senderElement(sd_bus_message* message)
    {
        std::string sender = sd_bus_message_get_sender(message) + 1;
        for (char& character : sender)
            character = character == '.' ? '_' : character;
        return sender;
    }

    // How to answer `message`: a portal answers at once with the path of a request and later by its signal, a
    // backend once it has decided.
    Answer answerOf(sd_bus_message* message, const std::map<std::string, std::string>& given)
    {
        if (isBackend()) {
            return [this, message = sd_bus_message_ref(message)](
                       std::uint32_t code, const std::function<void(sd_bus_message*)>& results) {
                sd_bus_message* reply = nullptr;
                sd_bus_message_new_method_return(message, &reply);
                sd_bus_message_append(reply, "u", code);
                sd_bus_message_open_container(reply, 'a', "{sv}");
                results(reply);
                sd_bus_message_close_container(reply);
                sd_bus_send(bus_, reply, nullptr);
                sd_bus_message_unref(reply);
                sd_bus_message_unref(message);
            };
        }
        const auto token = given.find("handle_token");
        const std::string path = "/org/freedesktop/portal/desktop/request/" + senderElement(message) + "/"
            + (token == given.end() ? "none" : token->second);
        sd_bus_reply_method_return(message, "o", path.c_str());
        const std::string member = sd_bus_message_get_member(message);
        return [this, path, member](std::uint32_t code, const std::function<void(sd_bus_message*)>& results) {
            if (option("orphan") == member) {
                sd_bus_flush(bus_);
                std::_Exit(4);
            }
            sd_bus_message* signal = nullptr;
            sd_bus_message_new_signal(
                bus_, &signal, path.c_str(), "org.freedesktop.portal.Request", "Response");
            if (option("garbage") == member) {
                sd_bus_message_append(signal, "s", "nonsense");
            } else {
                sd_bus_message_append(signal, "u", code);
                sd_bus_message_open_container(signal, 'a', "{sv}");
                results(signal);
                sd_bus_message_close_container(signal);
            }
            sd_bus_send(bus_, signal, nullptr);
            sd_bus_message_unref(signal);
        };
    }

    int createSession(sd_bus_message* message)
    {
        if (isBackend()) {
            readPath(message);
            session_ = readPath(message);
            sd_bus_message_skip(message, "s");
        }
        const auto given = readOptions(message);
        if (!isBackend()) {
            const auto token = given.find("session_handle_token");
            session_ = "/org/freedesktop/portal/desktop/session/" + senderElement(message) + "/"
                + (token == given.end() ? "none" : token->second);
        }
        log("CreateSession");
        answerOf(message, given)(0, [this](sd_bus_message* results) {
            if (!isBackend())
                sd_bus_message_append(results, "{sv}", "session_handle", "s", session_.c_str());
        });
        return 1;
    }

    int selectSources(sd_bus_message* message)
    {
        readPath(message);
        if (isBackend()) {
            readPath(message);
            sd_bus_message_skip(message, "s");
        }
        const auto given = readOptions(message);
        const auto text = [&](const char* key) {
            const auto found = given.find(key);
            return found == given.end() ? std::string("-") : found->second;
        };
        token_ = isBackend() ? text("restore_data") : text("restore_token");
        persists_ = text("persist_mode") != "-" && text("persist_mode") != "0";
        log("SelectSources types=" + text("types") + " cursor=" + text("cursor_mode")
            + " persist=" + text("persist_mode") + " token=" + token_);
        answerOf(message, given)(0, [](sd_bus_message*) {});
        return 1;
    }

    int start(sd_bus_message* message)
    {
        readPath(message);
        if (isBackend()) {
            readPath(message);
            sd_bus_message_skip(message, "s");
        }
        sd_bus_message_skip(message, "s");
        const auto given = readOptions(message);
        pending_ = answerOf(message, given);
        // A token serves once.
        const bool isRestored = token_ == "data" || knownTokens_.erase(token_) > 0;
        const std::string answer = option("answer", "grant");
        if (isRestored)
            log("restored");
        if (answer == "grant" || isRestored)
            grant();
        else if (answer == "deny")
            refuse(1);
        else if (answer == "fail")
            refuse(2);
        else
            log("asked");
        return 1;
    }

    void refuse(std::uint32_t code)
    {
        if (const Answer answer = std::exchange(pending_, nullptr))
            answer(code, [](sd_bus_message*) {});
    }

    void grant()
    {
        TestScreen::Settings settings;
        pair(option("size", "640x480"), 'x', settings.width, settings.height);
        settings.format = option("format", "BGRx");
        settings.memory = option("memory", "sealed");
        settings.padding = static_cast<int>(number("padding", 0));
        settings.offset = static_cast<int>(number("offset", 0));
        screen_ = std::make_unique<TestScreen>(
            loop_, settings, [this](std::uint32_t node) { tellStream(node); }, log);
        if (!option("crop").empty()) {
            std::istringstream words(option("crop"));
            screen_->setCrop(readRect(words));
        }
    }

    static TestScreen::Rect readRect(std::istringstream& words)
    {
        TestScreen::Rect rect;
        words >> rect.x >> rect.y >> rect.width >> rect.height;
        return rect;
    }

    static bool pair(const std::string& text, char separator, int& first, int& second)
    {
        const auto middle = text.find(separator);
        if (middle == std::string::npos)
            return false;
        first = std::stoi(text.substr(0, middle));
        second = std::stoi(text.substr(middle + 1));
        return true;
    }

    void tellStream(std::uint32_t node)
    {
        const Answer answer = std::exchange(pending_, nullptr);
        if (!answer)
            return;
        log("node " + std::to_string(node));
        answer(0, [&](sd_bus_message* results) {
            int first = 0;
            int second = 0;
            sd_bus_message_open_container(results, 'e', "sv");
            sd_bus_message_append(results, "s", "streams");
            sd_bus_message_open_container(results, 'v', "a(ua{sv})");
            sd_bus_message_open_container(results, 'a', "(ua{sv})");
            if (option("streams") != "0") {
                sd_bus_message_open_container(results, 'r', "ua{sv}");
                sd_bus_message_append(results, "u", node);
                sd_bus_message_open_container(results, 'a', "{sv}");
                sd_bus_message_append(results, "{sv}", "source_type", "u", 1);
                if (pair(option("position"), ',', first, second))
                    sd_bus_message_append(results, "{sv}", "position", "(ii)", first, second);
                if (pair(option("points"), 'x', first, second))
                    sd_bus_message_append(results, "{sv}", "size", "(ii)", first, second);
                sd_bus_message_close_container(results);
                sd_bus_message_close_container(results);
            }
            sd_bus_message_close_container(results);
            sd_bus_message_close_container(results);
            sd_bus_message_close_container(results);
            if (!persists_)
                return;
            if (isBackend()) {
                sd_bus_message_append(results, "{sv}", "persist_mode", "u", 2);
                sd_bus_message_append(
                    results, "{sv}", "restore_data", "(suv)", "glimto-test", 1, "s", "screen");
            } else {
                const std::string token
                    = "token-" + std::to_string(getpid()) + "-" + std::to_string(++tokenCount_);
                knownTokens_.insert(token);
                sd_bus_message_append(results, "{sv}", "restore_token", "s", token.c_str());
            }
        });
        sd_bus_flush(bus_);
    }

    int openRemote(sd_bus_message* message)
    {
        const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const std::string path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/pipewire-0";
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        if (option("remote") != "dead"
            && connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
            log("no PipeWire");
        const int result = sd_bus_reply_method_return(message, "h", descriptor);
        close(descriptor);
        return result;
    }

    void readCommands()
    {
        std::array<char, 4096> bytes = {};
        const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (got <= 0)
            std::_Exit(0);
        input_.append(bytes.data(), static_cast<std::size_t>(got));
        std::size_t end = 0;
        while ((end = input_.find('\n')) != std::string::npos) {
            const std::string line = input_.substr(0, end);
            input_.erase(0, end + 1);
            obey(line);
        }
        sd_bus_flush(bus_);
    }

    void obey(const std::string& line)
    {
        std::istringstream words(line);
        std::string command;
        words >> command;
        if (command == "quit")
            std::_Exit(0);
        else if (command == "grant")
            grant();
        else if (command == "deny")
            refuse(1);
        else if (command == "vanish")
            sd_bus_release_name(bus_, name_.c_str());
        else if (command == "close")
            closeSession();
        else if (command == "stop")
            screen_.reset();
        else if (screen_)
            draw(command, words);
        log("done " + line);
    }

    void draw(const std::string& command, std::istringstream& words)
    {
        int first = 0;
        int second = 0;
        std::string text;
        if (command == "pattern") {
            words >> first;
            screen_->paintPattern(first);
        } else if (command == "paint") {
            const TestScreen::Rect rect = readRect(words);
            words >> text;
            screen_->paint(rect, static_cast<std::uint32_t>(std::stoul(text, nullptr, 16)));
        } else if (command == "send") {
            screen_->send();
        } else if (command == "pointer") {
            words >> first >> second;
            screen_->sendPointer(first, second);
        } else if (command == "corrupt") {
            words >> text;
            screen_->sendCorrupted(text);
        } else if (command == "resize") {
            words >> first >> second;
            screen_->resize(first, second);
        } else if (command == "crop") {
            screen_->setCrop(readRect(words));
        } else if (command == "animate" || command == "still") {
            words >> first;
            const long period = first > 0 ? 1'000'000'000L / first : 0;
            timespec interval = {.tv_sec = period / 1'000'000'000L, .tv_nsec = period % 1'000'000'000L};
            pw_loop_update_timer(loop_, timer_, &interval, &interval, false);
        }
    }

    void animate()
    {
        if (!screen_)
            return;
        screen_->paintPattern(++phase_);
        screen_->send();
    }

    void closeSession()
    {
        sd_bus_emit_signal(bus_, session_.c_str(),
            isBackend() ? "org.freedesktop.impl.portal.Session" : "org.freedesktop.portal.Session", "Closed",
            "");
        sd_bus_flush(bus_);
        screen_.reset();
    }

    std::map<std::string, std::string> options_;
    std::string name_;
    sd_bus* bus_ = nullptr;
    pw_loop* loop_ = nullptr;
    spa_source* busSource_ = nullptr;
    spa_source* timer_ = nullptr;
    std::string input_;
    std::string session_;
    std::string token_;
    bool persists_ = false;
    int tokenCount_ = 0;
    std::set<std::string> knownTokens_;
    Answer pending_;
    std::unique_ptr<TestScreen> screen_;
    int phase_ = 0;
};

} // namespace

int main(int count, char** values)
{
    std::map<std::string, std::string> options;
    for (int index = 1; index + 1 < count; index += 2) {
        if (std::strncmp(values[index], "--", 2) != 0)
            return 2;
        options[values[index] + 2] = values[index + 1];
    }
    TestPortal(std::move(options)).run();
    return 1;
}
