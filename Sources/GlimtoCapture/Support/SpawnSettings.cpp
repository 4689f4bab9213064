#include "Support/SpawnSettings.h"

#include <csignal>
#include <initializer_list>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace glimto {

namespace {

// Any process of the same user reads the environment of any other, as long as that lives.
constexpr std::string_view secret = "GLIMTO_DESKTOP_ACCESS_KEY=";

// A descriptor that only this process has.
constexpr std::string_view progress = "GLIMTO_CAPTURE_PROGRESS_FD=";

} // namespace

SpawnSettings::SpawnSettings()
{
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_init(&actions);
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setflags(
        &attributes, static_cast<short>(POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    for (char** variable = environ; variable && *variable; ++variable) {
        const std::string_view text(*variable);
        if (!text.starts_with(secret) && !text.starts_with(progress))
            environment_.push_back(*variable);
    }
    environment_.push_back(nullptr);
}

SpawnSettings::~SpawnSettings()
{
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
}

} // namespace glimto
