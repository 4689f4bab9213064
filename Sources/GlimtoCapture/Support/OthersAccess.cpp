#include "Support/OthersAccess.h"

#include <array>
#include <string_view>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace glimto {

namespace {

// As Debian and others make one for every user, so that new files may be writable for the group.
bool isOwnGroup(gid_t group)
{
    std::array<char, 16 << 10> userStorage{};
    std::array<char, 16 << 10> groupStorage{};
    passwd userEntry = {};
    struct group groupEntry = {};
    passwd* user = nullptr;
    struct group* found = nullptr;
    if (::getpwuid_r(::geteuid(), &userEntry, userStorage.data(), userStorage.size(), &user) != 0 || !user)
        return false;
    if (::getgrgid_r(group, &groupEntry, groupStorage.data(), groupStorage.size(), &found) != 0 || !found)
        return false;
    const std::string_view name = user->pw_name;
    if (user->pw_gid != group || found->gr_name != name)
        return false;
    for (char** member = found->gr_mem; *member; ++member) {
        if (*member != name)
            return false;
    }
    return true;
}

} // namespace

bool mayBeOthers(const std::filesystem::path& path, const std::filesystem::path& trusted)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0)
        return true;
    struct stat trustedStatus = {};
    const bool isTrusted = status.st_uid == 0 || status.st_uid == ::geteuid()
        || (::stat(trusted.c_str(), &trustedStatus) == 0 && status.st_uid == trustedStatus.st_uid);
    if (!isTrusted)
        return true;
    const bool isGroupWritable = (status.st_mode & S_IWGRP) != 0;
    return (status.st_mode & S_IWOTH) != 0 || (isGroupWritable && !isOwnGroup(status.st_gid));
}

} // namespace glimto
