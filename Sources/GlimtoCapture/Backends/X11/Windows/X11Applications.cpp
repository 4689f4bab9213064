#include "Backends/X11/Windows/X11Applications.h"

#include <algorithm>
#include <fstream>

#include "Support/Text.h"

namespace glimto {

namespace {

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

// What the system calls the process; empty when it does not say.
std::string processName(std::int32_t processID)
{
    std::ifstream file("/proc/" + std::to_string(processID) + "/comm");
    std::string name;
    std::getline(file, name);
    return validUTF8(name);
}

} // namespace

X11Applications::X11Applications(DesktopFiles& desktopFiles)
    : desktopFiles_(desktopFiles)
{
}

std::vector<std::optional<Application>> X11Applications::owners(std::span<const X11OwnerClues> windows)
{
    // The oldest window of a process (the one with the lowest id) lends its identity, so that the
    // answer does not change with the stacking order.
    std::vector<const X11OwnerClues*> oldestFirst;
    for (const auto& window : windows)
        oldestFirst.push_back(&window);
    std::sort(oldestFirst.begin(), oldestFirst.end(),
        [](const auto* a, const auto* b) { return a->window < b->window; });
    std::map<std::int32_t, Identity> ofProcess;
    for (const auto* window : oldestFirst) {
        if (const auto known = identity(*window); known && window->processID != 0)
            ofProcess.emplace(window->processID, *known);
    }

    std::vector<std::optional<Application>> result;
    for (const auto& window : windows) {
        auto known = identity(window);
        if (!known && window.processID != 0) {
            const auto lent = ofProcess.try_emplace(window.processID).first;
            if (lent->second.name.empty())
                lent->second.name = processName(window.processID);
            known = lent->second;
        }
        if (known)
            result.push_back(Application{window.processID, known->bundleIdentifier, known->name});
        else
            result.push_back(std::nullopt);
    }
    return result;
}

std::optional<X11Applications::Identity> X11Applications::identity(const X11OwnerClues& window)
{
    const auto [at, isNew]
        = identities_.try_emplace({window.applicationIDs, window.instanceName, window.className});
    if (isNew) {
        const auto& windowClass = window.className.empty() ? window.instanceName : window.className;
        if (auto installed = installedApplication(window))
            at->second = Identity{std::move(installed->id), std::move(installed->name)};
        else if (!windowClass.empty())
            at->second = Identity{lowerCase(windowClass), windowClass};
        else if (!window.applicationIDs.empty())
            at->second = Identity{window.applicationIDs.front(), window.applicationIDs.front()};
    }
    return at->second;
}

// The instance goes before the class: a web page installed as a program of its own has the class of
// the browser. A file's name is tried before the search through all files, which is costly.
std::optional<DesktopApplication> X11Applications::installedApplication(const X11OwnerClues& window)
{
    for (const auto& id : window.applicationIDs) {
        if (auto found = desktopFiles_.withID(id))
            return found;
    }
    if (auto found = desktopFiles_.withID(window.instanceName))
        return found;
    for (const auto& name : {window.instanceName, window.className}) {
        if (name.empty())
            continue;
        if (auto found = desktopFiles_.withWindowClass(name))
            return found;
    }
    for (const auto& id : {lowerCase(window.instanceName), window.className, lowerCase(window.className)}) {
        if (auto found = desktopFiles_.withID(id))
            return found;
    }
    return std::nullopt;
}

std::vector<Application> distinctApplications(std::span<const std::optional<Application>> owners)
{
    std::vector<Application> result;
    for (const auto& owner : owners) {
        const auto isSame = [&](const Application& other) {
            return owner->processID != 0 ? other.processID == owner->processID : other == *owner;
        };
        if (owner && std::none_of(result.begin(), result.end(), isSame))
            result.push_back(*owner);
    }
    return result;
}

} // namespace glimto
