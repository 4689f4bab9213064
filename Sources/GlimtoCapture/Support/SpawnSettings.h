#pragma once

#include <spawn.h>

namespace glimto {

// How a process of its own is started with posix_spawn(): in a session of its own, with no signal blocked or
// ignored, and with nothing but /dev/null at its standard streams. More may be added to `actions`.
class SpawnSettings {
public:
    SpawnSettings();
    ~SpawnSettings();
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t actions{};
};

} // namespace glimto
