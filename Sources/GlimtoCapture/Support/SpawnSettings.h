#pragma once

#include <vector>

#include <spawn.h>

namespace glimto {

// How a process of its own is started with posix_spawn(): in a session of its own, with no signal blocked or
// ignored, with nothing but /dev/null at its standard streams, and without the access key in its environment.
// More may be added to `actions`.
class SpawnSettings {
public:
    SpawnSettings();
    ~SpawnSettings();
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t actions{};

    // This process's environment but for what is nobody else's business.
    char* const* environment() const { return environment_.data(); }

private:
    std::vector<char*> environment_; // ends with null
};

} // namespace glimto
