#include "Platform/ApplicationRule.h"

#include <algorithm>

#include "Support/Text.h"

namespace glimto {

bool ApplicationRule::matches(const Application& application) const
{
    return std::ranges::find(processIDs, application.processID) != processIDs.end()
        || std::ranges::find(bundleIdentifiers, application.bundleIdentifier) != bundleIdentifiers.end()
        || std::ranges::any_of(
            applicationNames, [name = lowercased(application.applicationName)](const std::string& each) {
                return lowercased(each) == name;
            });
}

} // namespace glimto
