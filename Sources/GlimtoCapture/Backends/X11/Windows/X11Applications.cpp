#include "Backends/X11/Windows/X11Applications.h"

#include <algorithm>
#include <fstream>

#include "Support/Text.h"

namespace glimto {

namespace {

// What the system calls the process; empty when it does not say.
std::string processName(std::int32_t processID)
{
    std::ifstream file("/proc/" + std::to_string(processID) + "/comm");
    std::string name;
    std::getline(file, name);
    return validUTF8(name);
}

// Whether the text is a name such as "org.example.Editor", which only an application id looks like.
bool isReverseDomainName(std::string_view text)
{
    const std::string_view first = text.substr(0, text.find('.'));
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return std::ranges::count(text, '.') >= 2 && !first.empty() && std::ranges::all_of(first, isLetter)
        && text.back() != '.' && text.find("..") == std::string_view::npos;
}

} // namespace

X11Applications::X11Applications(DesktopFiles& desktopFiles)
    : desktopFiles_(desktopFiles)
{
}

std::vector<std::optional<Application>> X11Applications::owners(std::span<const X11OwnerClues> windows)
{
    std::vector<const X11OwnerClues*> oldestFirst;
    for (const auto& window : windows)
        oldestFirst.push_back(&window);
    std::ranges::sort(oldestFirst, {}, &X11OwnerClues::window);
    std::map<std::int32_t, Identity> ofProcess;
    for (const auto* window : oldestFirst) {
        const auto known = window->processID != 0 ? identity(*window) : std::nullopt;
        if (!known)
            continue;
        const auto [at, isNew] = ofProcess.try_emplace(window->processID, *known);
        if (!isNew && known->source < at->second.source)
            at->second = *known;
    }

    std::vector<std::optional<Application>> result;
    for (const auto& window : windows) {
        if (window.processID != 0) {
            auto& known = ofProcess[window.processID];
            if (known.name.empty())
                known.name = processName(window.processID);
            result.push_back(Application{window.processID, known.bundleIdentifier, known.name});
        } else if (const auto known = identity(window)) {
            result.push_back(Application{0, known->bundleIdentifier, known->name});
        } else {
            result.push_back(std::nullopt);
        }
    }
    return result;
}

std::optional<X11Applications::Identity> X11Applications::identity(const X11OwnerClues& window)
{
    const auto [at, isNew]
        = identities_.try_emplace({window.applicationIDs, window.instanceName, window.className});
    if (isNew) {
        at->second = declared(window);
        if (!at->second)
            at->second = fromClass(window);
    }
    return at->second;
}

// The instance counts when it looks like an application id: a web page installed as a program of its own has
// the class of the browser. An installed program goes before one that nobody knows.
std::optional<X11Applications::Identity> X11Applications::declared(const X11OwnerClues& window)
{
    auto ids = window.applicationIDs;
    if (isReverseDomainName(window.instanceName))
        ids.push_back(window.instanceName);
    for (const auto& id : ids) {
        if (const auto found = desktopFiles_.withID(id))
            return Identity{found->id, found->name, Source::applicationID};
    }
    if (ids.empty())
        return std::nullopt;
    const auto& name = window.className.empty() ? ids.front() : window.className;
    return Identity{ids.front(), name, Source::applicationID};
}

// A file's name is tried before the search through all files, which is costly.
std::optional<X11Applications::Identity> X11Applications::fromClass(const X11OwnerClues& window)
{
    auto found = desktopFiles_.withID(window.instanceName);
    for (const auto& name : {window.instanceName, window.className}) {
        if (!found && !name.empty())
            found = desktopFiles_.withWindowClass(name);
    }
    for (const auto& id : {lowercased(window.instanceName), window.className, lowercased(window.className)}) {
        if (!found)
            found = desktopFiles_.withID(id);
    }
    if (found)
        return Identity{found->id, found->name};
    const auto& windowClass = window.className.empty() ? window.instanceName : window.className;
    if (windowClass.empty())
        return std::nullopt;
    return Identity{lowercased(windowClass), windowClass};
}

std::vector<Application> distinctApplications(std::span<const std::optional<Application>> owners)
{
    std::vector<Application> result;
    for (const auto& owner : owners) {
        const auto isSame = [&](const Application& other) {
            return owner->processID != 0 ? other.processID == owner->processID : other == *owner;
        };
        if (owner && std::ranges::none_of(result, isSame))
            result.push_back(*owner);
    }
    return result;
}

} // namespace glimto
