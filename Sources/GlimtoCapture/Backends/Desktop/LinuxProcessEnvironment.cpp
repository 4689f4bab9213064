#include "Backends/Desktop/LinuxProcessEnvironment.h"

#include <array>
#include <cstdlib>
#include <system_error>

#include <malloc.h>
#include <pwd.h>
#include <unistd.h>

namespace glimto {

namespace {

// The value of a variable that names a directory. The XDG Base Directory Specification says that
// relative paths are to be ignored.
std::optional<std::filesystem::path> absolutePath(const char* value)
{
    if (!value || *value != '/')
        return std::nullopt;
    return value;
}

std::optional<std::filesystem::path> homeOfUser()
{
    std::array<char, 16 * 1024> storage{};
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, storage.data(), storage.size(), &found) != 0 || !found)
        return std::nullopt;
    return absolutePath(found->pw_dir);
}

} // namespace

std::int32_t LinuxProcessEnvironment::processID() const
{
    return ::getpid();
}

std::string LinuxProcessEnvironment::bundleIdentifier() const
{
    return "com.glimto.capture";
}

std::optional<std::filesystem::path> LinuxProcessEnvironment::executablePath() const
{
    std::error_code error;
    auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        return std::nullopt;
    return path;
}

std::optional<std::filesystem::path> LinuxProcessEnvironment::cachesDirectory() const
{
    if (auto caches = absolutePath(std::getenv("XDG_CACHE_HOME")))
        return caches;
    auto home = absolutePath(std::getenv("HOME"));
    if (!home)
        home = homeOfUser();
    if (!home)
        return std::nullopt;
    return *home / ".cache";
}

std::optional<std::string> LinuxProcessEnvironment::variable(const std::string& name) const
{
    const char* value = std::getenv(name.c_str());
    if (!value)
        return std::nullopt;
    return value;
}

void giveLargeMemoryBack()
{
#ifdef M_MMAP_THRESHOLD // other C libraries have no such setting, and no need of it
    constexpr int largeBytes = 1 << 20;
    ::mallopt(M_MMAP_THRESHOLD, largeBytes);
#endif
}

} // namespace glimto
