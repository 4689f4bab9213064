#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Platform/ShareableContent.h"

namespace glimto {

// Says which applications are meant, also such as have not been started yet: all that one of these names.
struct ApplicationRule {
    std::vector<std::int32_t> processIDs;
    std::vector<std::string> bundleIdentifiers;
    std::vector<std::string> applicationNames; // ASCII letters of either case are alike

    bool matches(const Application& application) const;
    bool isEmpty() const
    {
        return processIDs.empty() && bundleIdentifiers.empty() && applicationNames.empty();
    }
};

} // namespace glimto
