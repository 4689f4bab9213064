#include "Backends/Wayland/CompositorWindows.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "Backends/Wayland/CompositorSocket.h"
#include "Support/Text.h"

namespace glimto {

namespace {

using JSON = nlohmann::json;

constexpr std::size_t mostWindows = 4096;
constexpr int deepestContainer = 64;
constexpr double farthestPoint = 1e6;

std::string text(const JSON& object, const char* key)
{
    const auto at = object.is_object() ? object.find(key) : object.end();
    return at != object.end() && at->is_string() ? validUTF8(at->get_ref<const std::string&>()) : std::string();
}

bool isTrue(const JSON& object, const char* key)
{
    const auto at = object.is_object() ? object.find(key) : object.end();
    return at != object.end() && at->is_boolean() && at->get<bool>();
}

// A whole number in [0, most]; absent for anything else.
std::optional<std::int64_t> number(const JSON& object, const char* key, std::int64_t most)
{
    const auto at = object.is_object() ? object.find(key) : object.end();
    if (at == object.end() || !at->is_number_integer())
        return std::nullopt;
    const auto value = at->get<std::int64_t>();
    return value >= 0 && value <= most ? std::optional(value) : std::nullopt;
}

double coordinate(const JSON& value)
{
    return value.is_number() ? std::clamp(value.get<double>(), -farthestPoint, farthestPoint) : 0;
}

double coordinate(const JSON& object, const char* key)
{
    const auto at = object.is_object() ? object.find(key) : object.end();
    return at != object.end() ? coordinate(*at) : 0;
}

Rect rectangle(const JSON& object, const char* key)
{
    const auto at = object.is_object() ? object.find(key) : object.end();
    if (at == object.end())
        return {};
    return {coordinate(*at, "x"), coordinate(*at, "y"), std::max(0.0, coordinate(*at, "width")),
        std::max(0.0, coordinate(*at, "height"))};
}

Application application(const JSON& object, const std::string& identifier)
{
    const auto process = number(object, "pid", std::numeric_limits<std::int32_t>::max());
    return {static_cast<std::int32_t>(process.value_or(0)), identifier, identifier};
}

JSON parsed(std::string_view json)
{
    return JSON::parse(json, nullptr, false);
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
                std::ranges::transform(*at, std::back_inserter(children), [](const JSON& child) { return &child; });
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
        const auto focus = node.find("focus");
        if (focus == node.end() || !focus->is_array())
            return;
        const auto place = [&](const JSON* child) {
            const auto id = child->is_object() ? child->find("id") : child->end();
            return id == child->end() ? focus->end() - focus->begin()
                                      : std::find(focus->begin(), focus->end(), *id) - focus->begin();
        };
        if (focus->size() <= mostWindows)
            std::ranges::stable_sort(children, {}, place);
    }

    void add(const JSON& node)
    {
        const auto id = number(node, "id", std::numeric_limits<std::uint32_t>::max());
        if (!id || windows.size() >= mostWindows)
            return;
        Window window;
        window.windowID = static_cast<std::uint32_t>(*id);
        // The contents lie inside of borders and title bars.
        const Rect container = rectangle(node, "rect");
        const Rect contents = rectangle(node, "window_rect");
        window.frame = contents.isEmpty() ? container
                                          : Rect{container.x + contents.x, container.y + contents.y, contents.width,
                                                contents.height};
        window.title = text(node, "name");
        window.isOnScreen = isTrue(node, "visible");
        std::string identifier = text(node, "app_id");
        const auto properties = node.find("window_properties"); // of a window of the X server
        if (identifier.empty() && properties != node.end())
            identifier = text(*properties, "class");
        window.owningApplication = application(node, identifier);
        windows.push_back(std::move(window));
    }
};

std::string environmentValue(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

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
        const auto at = client.find("at");
        const auto size = client.find("size");
        if (at != client.end() && at->is_array() && at->size() == 2 && size != client.end() && size->is_array()
            && size->size() == 2)
            window.frame = {coordinate((*at)[0]), coordinate((*at)[1]), std::max(0.0, coordinate((*size)[0])),
                std::max(0.0, coordinate((*size)[1]))};
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
    if (const std::string socket = environmentValue("SWAYSOCK"); !socket.empty()) {
        if (const auto answer = askSway(socket, SwayQuestion::tree))
            return windowsOfSwayTree(*answer);
    }
    const std::string instance = environmentValue("HYPRLAND_INSTANCE_SIGNATURE");
    const std::string folder = environmentValue("XDG_RUNTIME_DIR");
    if (!instance.empty() && !folder.empty()) {
        if (const auto answer = askHyprland(folder + "/hypr/" + instance + "/.socket.sock", "j/clients"))
            return windowsOfHyprland(*answer);
    }
    return std::nullopt;
}

} // namespace glimto
