#include "Backends/X11/Windows/X11WindowTree.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Windows/X11TopLevels.h"
#include "Platform/Geometry.h"

namespace glimto {

namespace {

// A client lies this deep below the root at most; window managers use one to three levels.
constexpr int maximumDepth = 8;

// About how many windows the search for clients looks at.
constexpr std::size_t maximumSearched = 20'000;

constexpr std::uint32_t withdrawnState = 0; // WM_STATE, ICCCM section 4.1.3.1

constexpr std::uint32_t maximumListBytes = 256 * 1024;

class TreeReader {
public:
    TreeReader(X11Connection& connection, const X11Atoms& atoms)
        : connection_(connection)
        , atoms_(atoms)
        , topLevels_(connection)
    {
        for (const auto& topLevel : topLevels_.bottomToTop())
            order_.push_back(topLevel.window);
    }

    X11WindowTree read()
    {
        readRoot();
        X11WindowTree tree;
        tree.isManaged = isWindowManagerAlive();
        if (tree.isManaged)
            placeListedClients();
        else
            searchClients();
        addPopups();
        tree.windows = frontmostFirst(order_, found_);
        if (tree.isManaged)
            tree.currentDesktop = currentDesktop_;
        return tree;
    }

private:
    void readRoot()
    {
        const auto root = connection_.root();
        const auto geometry = xcb_get_geometry(connection_.xcb(), root);
        const auto manager = X11Property::ask(connection_, root, atoms_.supportingWindowManager);
        const auto desktop = X11Property::ask(connection_, root, atoms_.currentDesktop);
        const auto stacking
            = X11Property::ask(connection_, root, atoms_.clientListStacking, maximumListBytes);
        const auto list = X11Property::ask(connection_, root, atoms_.clientList, maximumListBytes);
        if (const auto reply = connection_.reply<xcb_get_geometry_reply_t>(geometry))
            screen_ = {0, 0, reply->width, reply->height};
        manager_ = X11Property::receive(connection_, manager).firstNumber();
        currentDesktop_ = X11Property::receive(connection_, desktop).firstNumber();
        const auto stackingProperty = X11Property::receive(connection_, stacking);
        const auto listProperty = X11Property::receive(connection_, list);
        const bool hasStacking = stackingProperty.type() == XCB_ATOM_WINDOW;
        const auto listed = (hasStacking ? stackingProperty : listProperty).numbers();
        listed_.assign(listed.begin(), listed.end());
        hasList_ = hasStacking || listProperty.type() == XCB_ATOM_WINDOW;
    }

    // A window manager that ended in disorder leaves its properties behind, but its check window is gone.
    bool isWindowManagerAlive()
    {
        if (!hasList_ || !manager_)
            return false;
        return X11Property::read(connection_, *manager_, atoms_.supportingWindowManager).firstNumber()
            == manager_;
    }

    // Finds the top-level of every listed client, all clients one level upwards at a time.
    void placeListedClients()
    {
        struct Climb {
            xcb_window_t client;
            xcb_window_t at;
            bool isGone = false;
        };
        std::vector<Climb> climbs;
        for (const auto client : listed_)
            climbs.push_back({.client = client, .at = client});
        const std::unordered_set<xcb_window_t> topLevels(order_.begin(), order_.end());
        for (int depth = 0; depth < maximumDepth; ++depth) {
            std::vector<std::pair<Climb*, xcb_query_tree_cookie_t>> asked;
            for (auto& climb : climbs) {
                if (!climb.isGone && !topLevels.contains(climb.at))
                    asked.emplace_back(&climb, xcb_query_tree(connection_.xcb(), climb.at));
            }
            if (asked.empty())
                break;
            for (const auto& [climb, cookie] : asked) {
                const auto tree = connection_.reply<xcb_query_tree_reply_t>(cookie);
                climb->isGone = !tree || tree->parent == XCB_WINDOW_NONE;
                if (!climb->isGone && tree->parent != connection_.root())
                    climb->at = tree->parent;
            }
        }
        for (const auto& climb : climbs) {
            if (!climb.isGone)
                found_.push_back({climb.client, climb.at});
        }
    }

    // What window managers have marked. A top-level without that is a window itself when it is mapped.
    void searchClients()
    {
        const auto clients = x11ClientsInside(connection_, atoms_, order_);
        for (std::size_t index = 0; index < order_.size(); ++index) {
            const X11TopLevel& topLevel = topLevels_.bottomToTop()[index];
            if (clients[index].isMarked)
                found_.push_back({clients[index].window, topLevel.window});
            else if (isPicture(topLevel) && !topLevel.overridesRedirect)
                found_.push_back({topLevel.window, topLevel.window});
        }
    }

    // Whether some of its pixels are on the screen.
    bool isPicture(const X11TopLevel& topLevel) const
    {
        return topLevel.isMapped && topLevel.hasPicture && !intersection(topLevel.outline, screen_).isEmpty();
    }

    // Windows that pass by the window manager, but not the frames that it puts around its clients. Some
    // window managers have frames around groups of clients as well: what is theirs and of no type is no
    // window.
    void addPopups()
    {
        std::unordered_set<xcb_window_t> taken;
        for (const auto& window : found_)
            taken.insert(window.topLevel);
        struct Popup {
            xcb_window_t window;
            bool isManagers;
            xcb_get_property_cookie_t type;
        };
        std::vector<Popup> popups;
        for (const auto& topLevel : topLevels_.bottomToTop()) {
            if (!topLevel.overridesRedirect || !isPicture(topLevel) || taken.contains(topLevel.window))
                continue;
            Popup& popup = popups.emplace_back(Popup{topLevel.window, belongsToManager(topLevel.window), {}});
            if (popup.isManagers)
                popup.type = X11Property::ask(connection_, popup.window, atoms_.windowType);
        }
        for (const Popup& popup : popups) {
            if (!popup.isManagers || X11Property::receive(connection_, popup.type).type() != XCB_ATOM_NONE)
                found_.push_back({popup.window, popup.window});
        }
    }

    bool belongsToManager(xcb_window_t window) const
    {
        return manager_ && connection_.clientOf(window) == connection_.clientOf(*manager_);
    }

    X11Connection& connection_;
    const X11Atoms& atoms_;
    X11TopLevels topLevels_;
    std::vector<xcb_window_t> order_; // the top-levels, bottom to top
    PixelRect screen_;
    std::optional<xcb_window_t> manager_;
    std::optional<std::uint32_t> currentDesktop_;
    std::vector<xcb_window_t> listed_; // bottom to top
    bool hasList_ = false;
    std::vector<X11StackedWindow> found_;
};

} // namespace

X11WindowTree readX11WindowTree(X11Connection& connection, const X11Atoms& atoms)
{
    return TreeReader(connection, atoms).read();
}

std::vector<X11Client> x11ClientsInside(
    X11Connection& connection, const X11Atoms& atoms, std::span<const xcb_window_t> topLevels)
{
    struct Asked {
        std::size_t topLevel;
        xcb_window_t window;
        xcb_get_property_cookie_t state = {};
        xcb_get_property_cookie_t windowClass = {};
        xcb_query_tree_cookie_t tree = {};
    };
    std::vector<X11Client> clients(topLevels.size());
    std::vector<Asked> level;
    for (std::size_t index = 0; index < topLevels.size(); ++index)
        level.push_back({.topLevel = index, .window = topLevels[index]});
    std::size_t searched = 0;
    for (int depth = 0; depth < maximumDepth && !level.empty() && searched < maximumSearched; ++depth) {
        searched += level.size();
        for (auto& each : level) {
            each.state = X11Property::ask(connection, each.window, atoms.managedState);
            each.windowClass = X11Property::ask(connection, each.window, XCB_ATOM_WM_CLASS);
            each.tree = xcb_query_tree(connection.xcb(), each.window);
        }
        std::vector<Asked> next;
        for (const auto& each : level) {
            const auto state = X11Property::receive(connection, each.state).firstNumber();
            const bool hasClass = !X11Property::receive(connection, each.windowClass).bytes().empty();
            const auto tree = connection.reply<xcb_query_tree_reply_t>(each.tree);
            const bool isMarked = state.value_or(withdrawnState) != withdrawnState;
            X11Client& client = clients[each.topLevel];
            if (!client.isMarked && (isMarked || (hasClass && client.window == XCB_WINDOW_NONE)))
                client = {.window = each.window, .isMarked = isMarked};
            if (isMarked || !tree)
                continue;
            for (const xcb_window_t child : x11WindowChildren(*tree))
                next.push_back({.topLevel = each.topLevel, .window = child});
        }
        std::erase_if(next, [&](const Asked& each) { return clients[each.topLevel].isMarked; });
        level = std::move(next);
    }
    return clients;
}

std::vector<X11StackedWindow> frontmostFirst(
    std::span<const std::uint32_t> topLevels, std::span<const X11StackedWindow> windows)
{
    std::unordered_map<std::uint32_t, std::size_t> heights;
    for (const auto topLevel : topLevels)
        heights.emplace(topLevel, heights.size() + 1);

    struct Placed {
        X11StackedWindow window;
        std::size_t height = 0;
    };
    std::vector<Placed> placed;
    std::unordered_set<std::uint32_t> seen;
    std::size_t heightBelow = 0;
    for (const auto& window : windows) {
        if (!seen.insert(window.window).second)
            continue;
        const auto known = heights.find(window.topLevel);
        heightBelow = known == heights.end() ? heightBelow : known->second;
        placed.push_back({window, heightBelow});
    }
    std::ranges::stable_sort(placed, {}, &Placed::height);

    std::vector<X11StackedWindow> result;
    for (auto at = placed.rbegin(); at != placed.rend(); ++at)
        result.push_back(at->window);
    return result;
}

} // namespace glimto
