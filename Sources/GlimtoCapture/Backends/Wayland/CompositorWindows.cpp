#include "Backends/Wayland/CompositorWindows.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Backends/Wayland/LocalSocket.h"
#include "Backends/Wayland/WaylandOutput.h"
#include "Support/EnvironmentVariable.h"
#include "Support/FileDescriptor.h"
#include "Support/Text.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds answerTimeout{2};
constexpr std::size_t longestAnswer = std::size_t{16} << 20U;
constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t headerSize = 14;
constexpr std::uint32_t treeQuestion = 4;

class Conversation {
public:
    explicit Conversation(const std::string& path)
        : socket_(connectedLocalSocket(path))
    {
    }

    bool isOpen() const { return static_cast<bool>(socket_); }

    // A question is shorter than what a socket takes in one piece.
    bool say(std::string_view question)
    {
        return ::send(socket_.get(), question.data(), question.size(), MSG_NOSIGNAL)
            == static_cast<ssize_t>(question.size());
    }

    // More of the answer at the end of `text`. False at its end and when the time is over.
    bool hearMore(std::string& text)
    {
        std::array<char, 65536> piece;
        for (;;) {
            const auto left
                = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - HostClock::now()).count();
            pollfd entry = {.fd = socket_.get(), .events = POLLIN, .revents = 0};
            if (left <= 0 || ::poll(&entry, 1, static_cast<int>(left)) == 0)
                return false;
            const ssize_t count = ::recv(socket_.get(), piece.data(), piece.size(), MSG_DONTWAIT);
            if (count < 0 && (errno == EINTR || errno == EAGAIN))
                continue;
            if (count <= 0)
                return isOver_ = count == 0, false;
            text.append(piece.data(), static_cast<std::size_t>(count));
            return true;
        }
    }

    // Whether the other side said that it is done.
    bool isOver() const { return isOver_; }

private:
    FileDescriptor socket_;
    HostTime deadline_ = HostClock::now() + answerTimeout;
    bool isOver_ = false;
};

std::uint32_t wordAt(const std::string& text, std::size_t at)
{
    std::uint32_t word = 0;
    std::memcpy(&word, text.data() + at, sizeof(word));
    return word;
}

// Questions to a compositor in its own language, by the socket at `path`. Answers are JSON. Absent when there
// is no answer within two seconds, or one of more than 16 MiB. Nothing here throws.

// i3's protocol: "i3-ipc", length and type in the order of this machine, then the message.
std::optional<std::string> askSwayForTree(const std::string& path)
{
    Conversation conversation(path);
    const std::array<std::uint32_t, 2> words = {0, treeQuestion};
    std::string message(magic);
    message.append(reinterpret_cast<const char*>(words.data()), sizeof(words));
    if (!conversation.isOpen() || !conversation.say(message))
        return std::nullopt;
    std::string answer;
    while (answer.size() < headerSize) {
        if (!conversation.hearMore(answer))
            return std::nullopt;
    }
    const std::size_t length = wordAt(answer, magic.size());
    if (!answer.starts_with(magic) || length > longestAnswer)
        return std::nullopt;
    while (answer.size() < headerSize + length) {
        if (!conversation.hearMore(answer))
            return std::nullopt;
    }
    return answer.substr(headerSize, length);
}

// One line; the answer ends with the connection.
std::optional<std::string> askHyprland(const std::string& path, const std::string& question)
{
    Conversation conversation(path);
    if (!conversation.isOpen() || !conversation.say(question))
        return std::nullopt;
    std::string answer;
    while (conversation.hearMore(answer)) {
        if (answer.size() > longestAnswer)
            return std::nullopt;
    }
    return conversation.isOver() ? std::optional(answer) : std::nullopt;
}

using JSON = nlohmann::json;

constexpr std::size_t mostWindows = 4096;
constexpr int deepestContainer = 64;
constexpr double farthestPoint = 1e6;

// Null when there is no such thing.
const JSON& member(const JSON& object, const char* key)
{
    static const JSON none;
    const auto at = object.is_object() ? object.find(key) : object.end();
    return at == object.end() ? none : *at;
}

std::string text(const JSON& object, const char* key)
{
    const JSON& value = member(object, key);
    return value.is_string() ? validUTF8(value.get_ref<const std::string&>()) : std::string();
}

bool isTrue(const JSON& object, const char* key)
{
    return member(object, key) == true;
}

// A whole number in [0, most]; absent for anything else.
std::optional<std::int64_t> number(const JSON& object, const char* key, std::int64_t most)
{
    const JSON& found = member(object, key);
    if (!found.is_number_integer())
        return std::nullopt;
    const auto value = found.get<std::int64_t>();
    return value >= 0 && value <= most ? std::optional(value) : std::nullopt;
}

double coordinate(const JSON& value)
{
    return value.is_number() ? std::clamp(value.get<double>(), -farthestPoint, farthestPoint) : 0;
}

Rect rectangle(const JSON& object)
{
    return {coordinate(member(object, "x")), coordinate(member(object, "y")),
        std::max(0.0, coordinate(member(object, "width"))),
        std::max(0.0, coordinate(member(object, "height")))};
}

Application application(const JSON& object, const std::string& identifier)
{
    const auto process = number(object, "pid", std::numeric_limits<std::int32_t>::max());
    return {static_cast<std::int32_t>(process.value_or(0)), identifier, identifier};
}

// Titles may hold any bytes, and compositors hand them on.
JSON parsed(std::string_view json)
{
    return JSON::parse(validUTF8(json), nullptr, false);
}

class SwayTree {
public:
    void read(const JSON& node, int depth)
    {
        if (!node.is_object() || depth > deepestContainer)
            return;
        std::vector<const JSON*> children;
        for (const char* key : {"floating_nodes", "nodes"}) {
            const auto at = node.find(key);
            if (at != node.end() && at->is_array())
                std::ranges::transform(
                    *at, std::back_inserter(children), [](const JSON& child) { return &child; });
        }
        if (children.empty() && node.contains("pid"))
            add(node);
        sortByFocus(node, children);
        for (const JSON* child : children)
            read(*child, depth + 1);
    }

    std::vector<Window> windows;

private:
    // A node tells the order in which its children were last used.
    static void sortByFocus(const JSON& node, std::vector<const JSON*>& children)
    {
        const JSON& focus = member(node, "focus");
        if (!focus.is_array())
            return;
        const auto place = [&](const JSON* child) {
            const auto id = child->is_object() ? child->find("id") : child->end();
            return id == child->end() ? focus.end() - focus.begin()
                                      : std::find(focus.begin(), focus.end(), *id) - focus.begin();
        };
        if (focus.size() <= mostWindows)
            std::ranges::stable_sort(children, {}, place);
    }

    void add(const JSON& node)
    {
        const auto id = number(node, "id", std::numeric_limits<std::uint32_t>::max());
        if (!id || windows.size() >= mostWindows)
            return;
        Window window;
        // As ext-foreign-toplevel-list calls it, where the compositor has that.
        const std::string name = text(node, "foreign_toplevel_identifier");
        window.windowID = name.empty() ? static_cast<std::uint32_t>(*id) : waylandNameID(name);
        // The contents lie inside of borders and title bars.
        const Rect container = rectangle(member(node, "rect"));
        const Rect contents = rectangle(member(node, "window_rect"));
        window.frame = contents.isEmpty()
            ? container
            : Rect{container.x + contents.x, container.y + contents.y, contents.width, contents.height};
        window.title = text(node, "name");
        window.isOnScreen = isTrue(node, "visible");
        std::string identifier = text(node, "app_id");
        if (identifier.empty()) // of a window of the X server
            identifier = text(member(node, "window_properties"), "class");
        window.owningApplication = application(node, identifier);
        windows.push_back(std::move(window));
    }
};

} // namespace

std::optional<std::vector<Window>> windowsOfSwayTree(std::string_view json)
{
    const JSON tree = parsed(json);
    if (!tree.is_object())
        return std::nullopt;
    SwayTree reader;
    reader.read(tree, 0);
    return std::move(reader.windows);
}

std::optional<std::vector<Window>> windowsOfHyprland(std::string_view json)
{
    const JSON clients = parsed(json);
    if (!clients.is_array())
        return std::nullopt;
    std::vector<std::pair<std::int64_t, Window>> found; // with how long ago each was used
    for (const JSON& client : clients) {
        const std::string address = text(client, "address");
        if (address.empty() || isTrue(client, "hidden") || found.size() >= mostWindows)
            continue;
        Window window;
        // Addresses of one process differ in their lower half, but for very large ones.
        window.windowID = static_cast<std::uint32_t>(std::strtoull(address.c_str(), nullptr, 16));
        const JSON& at = member(client, "at");
        const JSON& size = member(client, "size");
        if (at.is_array() && at.size() == 2 && size.is_array() && size.size() == 2)
            window.frame = {coordinate(at[0]), coordinate(at[1]), std::max(0.0, coordinate(size[0])),
                std::max(0.0, coordinate(size[1]))};
        window.title = text(client, "title");
        window.isOnScreen = isTrue(client, "mapped");
        window.owningApplication = application(client, text(client, "class"));
        const auto order = number(client, "focusHistoryID", std::numeric_limits<std::int32_t>::max());
        found.emplace_back(order.value_or(std::numeric_limits<std::int32_t>::max()), std::move(window));
    }
    std::ranges::stable_sort(found, {}, &std::pair<std::int64_t, Window>::first);
    std::vector<Window> windows;
    for (auto& [order, window] : found)
        windows.push_back(std::move(window));
    return windows;
}

std::optional<std::vector<Window>> compositorWindows()
{
    if (const std::string socket = environmentVariable("SWAYSOCK"); !socket.empty()) {
        if (const auto answer = askSwayForTree(socket))
            return windowsOfSwayTree(*answer);
    }
    const std::string instance = environmentVariable("HYPRLAND_INSTANCE_SIGNATURE");
    const std::string folder = environmentVariable("XDG_RUNTIME_DIR");
    if (!instance.empty() && !folder.empty()) {
        if (const auto answer = askHyprland(folder + "/hypr/" + instance + "/.socket.sock", "j/clients"))
            return windowsOfHyprland(*answer);
    }
    return std::nullopt;
}

} // namespace glimto
