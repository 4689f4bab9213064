#pragma once

#include "Platform/ProcessEnvironment.h"

namespace glimto {

// This process as Linux tells it. Caches are in $XDG_CACHE_HOME, else in ".cache" of the home directory
// that HOME or else the user database names.
class LinuxProcessEnvironment final : public ProcessEnvironment {
public:
    std::int32_t processID() const override;
    std::string bundleIdentifier() const override;
    std::optional<std::filesystem::path> executablePath() const override;
    std::optional<std::filesystem::path> cachesDirectory() const override;
    std::optional<std::string> variable(const std::string& name) const override;
};

} // namespace glimto
