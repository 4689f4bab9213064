#include "Backends/X11/Windows/X11WindowTree.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Platform/Geometry.h"

namespace glimto {

namespace {

// A client lies this deep below the root at most; window managers use one to three levels.
constexpr int maximumDepth = 8;

// How many windows the search for clients looks at when no window manager lists them.
constexpr std::size_t maximumSearched = 20'000;

constexpr std::uint32_t withdrawnState = 0; // WM_STATE, ICCCM section 4.1.3.1

constexpr std::uint32_t maximumListBytes = 256 * 1024;

class TreeReader {
public:
    TreeReader(X11Connection& connection, const X11Atoms& atoms)
        : connection_(connection)
        , atoms_(atoms)
    {
    }

    X11WindowTree read()
    {
        readRoot();
        readTopLevels();
        X11WindowTree tree;
        tree.isManaged = isWindowManagerAlive();
        if (tree.isManaged)
            placeListedClients();
        else
            searchClients();
        addPopups();
        std::vector<std::uint32_t> order;
        for (const auto& topLevel : topLevels_)
            order.push_back(topLevel.window);
        tree.windows = frontmostFirst(order, found_);
        if (tree.isManaged)
            tree.currentDesktop = currentDesktop_;
        return tree;
    }

private:
    struct TopLevel {
        xcb_window_t window = XCB_WINDOW_NONE;
        bool isMapped = false;
        bool overridesRedirect = false;
        bool isPicture = false; // has pixels, and some of them on the screen
    };

    void readRoot()
    {
        const auto root = connection_.root();
        const auto tree = xcb_query_tree(connection_.xcb(), root);
        const auto geometry = xcb_get_geometry(connection_.xcb(), root);
        const auto manager = X11Property::ask(connection_, root, atoms_.supportingWindowManager);
        const auto desktop = X11Property::ask(connection_, root, atoms_.currentDesktop);
        const auto stacking
            = X11Property::ask(connection_, root, atoms_.clientListStacking, maximumListBytes);
        const auto list = X11Property::ask(connection_, root, atoms_.clientList, maximumListBytes);
        if (const auto reply = connection_.reply<xcb_query_tree_reply_t>(tree)) {
            for (const auto window : x11WindowChildren(*reply))
                topLevels_.push_back({.window = window});
        }
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

    void readTopLevels()
    {
        struct Asked {
            xcb_get_window_attributes_cookie_t attributes;
            xcb_get_geometry_cookie_t geometry;
        };
        std::vector<Asked> asked;
        for (const auto& topLevel : topLevels_) {
            asked.push_back({xcb_get_window_attributes(connection_.xcb(), topLevel.window),
                xcb_get_geometry(connection_.xcb(), topLevel.window)});
        }
        for (std::size_t index = 0; index < topLevels_.size(); ++index) {
            auto& topLevel = topLevels_[index];
            topLevelSet_.insert(topLevel.window);
            const auto attributes
                = connection_.reply<xcb_get_window_attributes_reply_t>(asked[index].attributes);
            const auto geometry = connection_.reply<xcb_get_geometry_reply_t>(asked[index].geometry);
            if (!attributes || !geometry)
                continue;
            topLevel.isMapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED;
            topLevel.overridesRedirect = attributes->override_redirect != 0;
            const int border = 2 * geometry->border_width;
            const PixelRect outline{
                geometry->x, geometry->y, geometry->width + border, geometry->height + border};
            // The server's own windows are the compositing overlay and the screen saver's.
            topLevel.isPicture = attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT
                && !intersection(outline, screen_).isEmpty() && connection_.clientOf(topLevel.window) != 0;
        }
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
        for (int depth = 0; depth < maximumDepth; ++depth) {
            std::vector<std::pair<Climb*, xcb_query_tree_cookie_t>> asked;
            for (auto& climb : climbs) {
                if (!climb.isGone && !topLevelSet_.contains(climb.at))
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

    // Below every top-level the first window that a window manager has marked as its client, searched
    // one level downwards at a time. A top-level without one is a window itself when it is mapped.
    void searchClients()
    {
        std::unordered_map<xcb_window_t, xcb_window_t> clientOf;
        std::vector<X11StackedWindow> level;
        for (const auto& topLevel : topLevels_)
            level.push_back({topLevel.window, topLevel.window});
        std::size_t searched = 0;
        for (int depth = 0; depth < maximumDepth && !level.empty() && searched < maximumSearched; ++depth) {
            searched += level.size();
            level = searchLevel(level, clientOf);
        }
        for (const auto& topLevel : topLevels_) {
            const auto client = clientOf.find(topLevel.window);
            if (client != clientOf.end())
                found_.push_back({client->second, topLevel.window});
            else if (topLevel.isMapped && topLevel.isPicture && !topLevel.overridesRedirect)
                found_.push_back({topLevel.window, topLevel.window});
        }
    }

    // Notes the clients of `level` and returns the windows of the next one that are still in question.
    std::vector<X11StackedWindow> searchLevel(
        const std::vector<X11StackedWindow>& level, std::unordered_map<xcb_window_t, xcb_window_t>& clientOf)
    {
        struct Asked {
            xcb_get_property_cookie_t state;
            xcb_query_tree_cookie_t tree;
        };
        std::vector<Asked> asked;
        for (const auto& window : level) {
            asked.push_back({X11Property::ask(connection_, window.window, atoms_.managedState),
                xcb_query_tree(connection_.xcb(), window.window)});
        }
        std::vector<X11StackedWindow> next;
        for (std::size_t index = 0; index < level.size(); ++index) {
            const auto state = X11Property::receive(connection_, asked[index].state);
            const auto tree = connection_.reply<xcb_query_tree_reply_t>(asked[index].tree);
            if (state.firstNumber().value_or(withdrawnState) != withdrawnState) {
                clientOf.emplace(level[index].topLevel, level[index].window);
                continue;
            }
            if (!tree)
                continue;
            for (const auto child : x11WindowChildren(*tree))
                next.push_back({child, level[index].topLevel});
        }
        std::erase_if(
            next, [&](const X11StackedWindow& window) { return clientOf.contains(window.topLevel); });
        return next;
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
        for (const auto& topLevel : topLevels_) {
            if (!topLevel.overridesRedirect || !topLevel.isMapped || !topLevel.isPicture
                || taken.contains(topLevel.window))
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
    PixelRect screen_;
    std::vector<TopLevel> topLevels_; // bottom to top
    std::unordered_set<xcb_window_t> topLevelSet_;
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
