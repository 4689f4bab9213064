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

// From now on what is large goes back to the system when it is freed, as the pictures of an encoder that
// another one takes over from; glibc would keep some of it.
void giveLargeMemoryBack();

} // namespace glimto
