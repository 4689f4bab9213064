#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace glimto {

// Facts about this process. Operations do not throw.
class ProcessEnvironment {
public:
    virtual ~ProcessEnvironment() = default;

    virtual std::int32_t processID() const = 0;
    virtual std::string bundleIdentifier() const = 0;

    // The running executable's path as the system reports it; absent when it cannot be told.
    virtual std::optional<std::filesystem::path> executablePath() const = 0;

    // The user's directory for caches, which may not exist yet; absent when there is no home.
    virtual std::optional<std::filesystem::path> cachesDirectory() const = 0;

    // A variable of the environment; absent when it is not set.
    virtual std::optional<std::string> variable(const std::string& name) const = 0;
};

} // namespace glimto
