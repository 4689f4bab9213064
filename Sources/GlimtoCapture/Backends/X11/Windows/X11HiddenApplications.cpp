#include "Backends/X11/Windows/X11HiddenApplications.h"

#include <algorithm>
#include <utility>

#include "Backends/X11/Connection/X11Property.h"
#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Windows/X11WindowDetails.h"

namespace glimto {

X11HiddenApplications::X11HiddenApplications(X11Connection& connection, const DisplayContentFilter& filter)
    : connection_(connection)
    , atoms_(connection)
    , excluded_(filter.laterExclusions)
    , excludedProcesses_(excluded_.processIDs.begin(), excluded_.processIDs.end())
    , desktopFiles_(DesktopFiles::standardDirectories())
    , applications_(desktopFiles_)
{
    for (const Application& application : filter.excludedApplications) {
        if (application.processID != 0)
            excludedProcesses_.insert(application.processID);
        else
            excluded_.bundleIdentifiers.push_back(application.bundleIdentifier);
    }
    for (const Window& window : filter.exceptingWindows)
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
            if (client.window != clues[index].window)
                continue;
            client.isRead = true;
            client.processID = clues[index].processID;
            client.isExcluded = isExcluded(clues[index], owners[index]);
            if (client.isExcluded && client.processID != 0)
                excludedProcesses_.insert(client.processID);
        }
    }
    for (std::size_t index = 0; index < unknown.size(); ++index)
        note(unknown[index], found[index]);
}

// Nothing is known of a window that has gone meanwhile, nor is it shown.
void X11HiddenApplications::note(xcb_window_t topLevel, Client client)
{
    if (!client.isRead)
        return;
    if (!client.isSure && held_.contains(topLevel))
        client.isExcluded = true;
    known_[topLevel] = client;
    if (isHidden(client))
        held_.insert(topLevel);
    else
        held_.erase(topLevel);
}

// For each top-level the window inside that its application made, else itself.
std::vector<X11HiddenApplications::Client> X11HiddenApplications::clients(
    std::span<const xcb_window_t> topLevels)
{
    // A window that the window manager keeps for others to find it by.
    const auto manager = X11Property::read(connection_, connection_.root(), atoms_.supportingWindowManager)
                             .firstNumber()
                             .value_or(XCB_WINDOW_NONE);
    std::vector<xcb_get_property_cookie_t> types;
    for (const xcb_window_t topLevel : topLevels)
        types.push_back(X11Property::ask(connection_, topLevel, atoms_.windowType));
    const auto found = x11ClientsInside(connection_, atoms_, topLevels);
    std::vector<Client> result;
    for (std::size_t index = 0; index < topLevels.size(); ++index) {
        const xcb_window_t topLevel = topLevels[index];
        const bool hasType = X11Property::receive(connection_, types[index]).type() != XCB_ATOM_NONE;
        Client& client = result.emplace_back();
        client.window = found[index].window;
        client.isSure = found[index].isMarked;
        if (client.window != XCB_WINDOW_NONE)
            continue;
        client.window = topLevel;
        client.isEmptyFrame = !hasType && connection_.clientOf(topLevel) == connection_.clientOf(manager);
    }
    return result;
}

// An id that a window declares counts as it stands, also when the process is known by another one.
bool X11HiddenApplications::isExcluded(
    const X11OwnerClues& clues, const std::optional<Application>& owner) const
{
    const auto names = [&](const std::string& id) { return excluded_.matches({0, id, ""}); };
    return (owner && excluded_.matches(*owner)) || std::ranges::any_of(clues.applicationIDs, names)
        || (!clues.instanceName.empty() && names(clues.instanceName))
        || (!clues.className.empty() && excluded_.matches({0, clues.className, clues.className}));
}

bool X11HiddenApplications::isHidden(const Client& client) const
{
    return (client.isExcluded || excludedProcesses_.contains(client.processID))
        && !excepted_.contains(client.window);
}

bool X11HiddenApplications::hides(xcb_window_t topLevel) const
{
    const auto found = known_.find(topLevel);
    return found != known_.end() && isHidden(found->second);
}

bool X11HiddenApplications::shows(xcb_window_t topLevel) const
{
    const auto found = known_.find(topLevel);
    return found != known_.end() && !isHidden(found->second) && !found->second.isEmptyFrame;
}

void X11HiddenApplications::forgetUnsure()
{
    std::erase_if(known_, [](const auto& each) { return !each.second.isSure; });
}

void X11HiddenApplications::forgetAllBut(std::span<const xcb_window_t> topLevels)
{
    const std::set<xcb_window_t> kept(topLevels.begin(), topLevels.end());
    std::erase_if(known_, [&](const auto& each) { return !kept.contains(each.first); });
    std::erase_if(held_, [&](xcb_window_t each) { return !kept.contains(each); });
}

} // namespace glimto
