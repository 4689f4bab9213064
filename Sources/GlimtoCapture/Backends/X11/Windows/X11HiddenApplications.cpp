#include "Backends/X11/Windows/X11HiddenApplications.h"

#include <algorithm>
#include <utility>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Windows/X11WindowDetails.h"

namespace glimto {

namespace {

// Window managers put their clients one to three levels below the frame.
constexpr int deepestClient = 4;

} // namespace

X11HiddenApplications::X11HiddenApplications(
    X11Connection& connection, std::vector<Application> excluded, const std::vector<Window>& excepted)
    : connection_(connection)
    , atoms_(connection)
    , excluded_(std::move(excluded))
    , desktopFiles_(DesktopFiles::standardDirectories())
    , applications_(desktopFiles_)
{
    for (const Window& window : excepted)
        excepted_.insert(window.windowID);
}

void X11HiddenApplications::learn(std::span<const xcb_window_t> topLevels)
{
    std::vector<xcb_window_t> unknown;
    for (const auto topLevel : topLevels) {
        if (!known_.contains(topLevel))
            unknown.push_back(topLevel);
    }
    if (unknown.empty())
        return;
    auto found = clients(unknown);
    X11WindowTree tree;
    for (std::size_t index = 0; index < unknown.size(); ++index)
        tree.windows.push_back({found[index].window, unknown[index]});
    std::vector<X11OwnerClues> clues;
    for (const auto& details : readX11WindowDetails(connection_, atoms_, tree))
        clues.push_back(details.owner);
    const auto owners = applications_.owners(clues);
    for (std::size_t index = 0; index < clues.size(); ++index) {
        for (auto& client : found) {
            if (client.window == clues[index].window)
                client.isHidden
                    = owners[index] && isExcluded(*owners[index]) && !excepted_.contains(client.window);
        }
    }
    for (std::size_t index = 0; index < unknown.size(); ++index)
        known_[unknown[index]] = found[index];
}

// For each top-level the window inside that its application made: the one that the window manager has
// marked, else the first with a class (a frame is mapped before its client is marked), else itself.
std::vector<X11HiddenApplications::Client> X11HiddenApplications::clients(
    std::span<const xcb_window_t> topLevels)
{
    struct Asked {
        std::size_t index;
        xcb_window_t window;
        xcb_get_property_cookie_t state = {};
        xcb_get_property_cookie_t windowClass = {};
        xcb_query_tree_cookie_t tree = {};
    };
    std::vector<Client> result(topLevels.size());
    std::vector<Asked> level;
    for (std::size_t index = 0; index < topLevels.size(); ++index)
        level.push_back({.index = index, .window = topLevels[index]});
    for (int depth = 0; depth <= deepestClient && !level.empty(); ++depth) {
        for (auto& each : level) {
            each.state = X11Property::ask(connection_, each.window, atoms_.managedState);
            each.windowClass = X11Property::ask(connection_, each.window, XCB_ATOM_WM_CLASS);
            each.tree = xcb_query_tree(connection_.xcb(), each.window);
        }
        std::vector<Asked> next;
        for (const auto& each : level) {
            const bool isClient
                = X11Property::receive(connection_, each.state).firstNumber().value_or(0) != 0;
            const bool hasClass = !X11Property::receive(connection_, each.windowClass).bytes().empty();
            const auto tree = connection_.reply<xcb_query_tree_reply_t>(each.tree);
            Client& client = result[each.index];
            if (client.isSure)
                continue;
            if (isClient || (hasClass && client.window == XCB_WINDOW_NONE))
                client = {.window = each.window, .isSure = isClient};
            if (client.isSure || !tree)
                continue;
            const xcb_window_t* children = xcb_query_tree_children(tree.get());
            for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child)
                next.push_back({.index = each.index, .window = children[child]});
        }
        level = std::move(next);
    }
    for (std::size_t index = 0; index < topLevels.size(); ++index) {
        if (result[index].window == XCB_WINDOW_NONE)
            result[index].window = topLevels[index];
    }
    return result;
}

bool X11HiddenApplications::isExcluded(const Application& owner) const
{
    return std::any_of(excluded_.begin(), excluded_.end(), [&](const Application& each) {
        return (each.processID != 0 && each.processID == owner.processID)
            || (!each.bundleIdentifier.empty() && each.bundleIdentifier == owner.bundleIdentifier);
    });
}

bool X11HiddenApplications::hides(xcb_window_t topLevel) const
{
    const auto found = known_.find(topLevel);
    return found != known_.end() && found->second.isHidden;
}

void X11HiddenApplications::forgetUnsure()
{
    std::erase_if(known_, [](const auto& each) { return !each.second.isSure; });
}

void X11HiddenApplications::forgetAllBut(std::span<const xcb_window_t> topLevels)
{
    std::erase_if(known_, [&](const auto& each) {
        return std::find(topLevels.begin(), topLevels.end(), each.first) == topLevels.end();
    });
}

} // namespace glimto
