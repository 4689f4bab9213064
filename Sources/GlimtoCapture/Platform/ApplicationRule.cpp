#include "Platform/ApplicationRule.h"

#include <algorithm>
#include <string_view>

namespace glimto {

namespace {

// The names compared here are ASCII, so only ASCII letters can differ in case.
bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

} // namespace

bool ApplicationRule::matches(const Application& application) const
{
    return std::ranges::find(processIDs, application.processID) != processIDs.end()
        || std::ranges::find(bundleIdentifiers, application.bundleIdentifier) != bundleIdentifiers.end()
        || std::ranges::any_of(applicationNames,
            [&](std::string_view name) { return equalsIgnoringCase(application.applicationName, name); });
}

} // namespace glimto
