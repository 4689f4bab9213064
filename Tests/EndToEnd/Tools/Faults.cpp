// A library to be loaded before all others, which makes calls to the system fail, or the wall clock tell
// another time, as the lines of the file $GLIMTO_TEST_FAULTS say at that moment:
//
//     write 28 segments/        every write to a file whose path holds "segments/" fails with errno 28
//     open 30 /take/            so does every opening for writing, and every change of a directory
//     sync 5 manifest           and every fsync and fdatasync
//     clock -3600               the wall clock is an hour late
//
// The last argument may be missing, and then every path is meant. Files that are no regular ones are let be.

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr std::size_t longestText = 4096;

// The file of faults, read without any of the functions below. Empty when there is none.
struct Faults {
    char text[longestText] = "";

    Faults()
    {
        const char* path = std::getenv("GLIMTO_TEST_FAULTS");
        const long file = path ? ::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC) : -1;
        if (file < 0)
            return;
        const long count = ::syscall(SYS_read, file, text, sizeof(text) - 1);
        text[count > 0 ? count : 0] = '\0';
        ::syscall(SYS_close, file);
    }

    // The number behind `kind` on the first line that means `path`; 0 when there is none.
    int number(const char* kind, const char* path) const
    {
        for (const char* line = text; *line; line = std::strchr(line, '\n') + 1) {
            char word[16] = "";
            char part[512] = "";
            int value = 0;
            if (std::sscanf(line, "%15s %d%*[ ]%511[^\n]", word, &value, part) >= 2
                && std::strcmp(word, kind) == 0 && std::strstr(path, part))
                return value;
            if (!std::strchr(line, '\n'))
                break;
        }
        return 0;
    }
};

bool fails(const char* kind, const char* path)
{
    const int kept = errno;
    const int fault = Faults().number(kind, path);
    errno = fault ? fault : kept;
    return fault != 0;
}

bool failsFor(const char* kind, int descriptor)
{
    const int kept = errno;
    struct stat status = {};
    if (::syscall(SYS_fstat, descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        errno = kept;
        return false;
    }
    char name[64];
    char path[longestText] = "";
    std::snprintf(name, sizeof(name), "/proc/self/fd/%d", descriptor);
    const auto length = ::readlink(name, path, sizeof(path) - 1);
    path[length > 0 ? length : 0] = '\0';
    errno = kept;
    return fails(kind, path);
}

bool opensForWriting(int flags)
{
    return (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT);
}

// The fault of a path below an open directory.
bool failsBelow(const char* kind, int directory, const char* path)
{
    if (directory == AT_FDCWD || path[0] == '/')
        return fails(kind, path);
    const int kept = errno;
    char name[64];
    char whole[2 * longestText] = "";
    std::snprintf(name, sizeof(name), "/proc/self/fd/%d", directory);
    const auto length = ::readlink(name, whole, longestText);
    std::snprintf(whole + (length > 0 ? length : 0), longestText, "/%s", path);
    errno = kept;
    return fails(kind, whole);
}

mode_t modeOf(int flags, std::va_list arguments)
{
    return flags & (O_CREAT | O_TMPFILE) ? va_arg(arguments, mode_t) : 0;
}

template <typename Function> Function next(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

ssize_t write(int descriptor, const void* data, size_t size)
{
    return failsFor("write", descriptor) ? -1 : ::syscall(SYS_write, descriptor, data, size);
}

ssize_t pwrite(int descriptor, const void* data, size_t size, off_t offset)
{
    return failsFor("write", descriptor) ? -1 : ::syscall(SYS_pwrite64, descriptor, data, size, offset);
}

ssize_t writev(int descriptor, const struct iovec* parts, int count)
{
    return failsFor("write", descriptor) ? -1 : ::syscall(SYS_writev, descriptor, parts, count);
}

int fsync(int descriptor)
{
    return failsFor("sync", descriptor) ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int fdatasync(int descriptor)
{
    return failsFor("sync", descriptor) ? -1 : static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

int open(const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = modeOf(flags, arguments);
    va_end(arguments);
    return opensForWriting(flags) && fails("open", path)
        ? -1
        : static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

int openat(int directory, const char* path, int flags, ...)
{
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = modeOf(flags, arguments);
    va_end(arguments);
    return opensForWriting(flags) && failsBelow("open", directory, path)
        ? -1
        : static_cast<int>(::syscall(SYS_openat, directory, path, flags, mode));
}

int openat64(int directory, const char* path, int flags, ...) __attribute__((alias("openat")));

int mkdir(const char* path, mode_t mode)
{
    return fails("open", path) ? -1 : static_cast<int>(::syscall(SYS_mkdir, path, mode));
}

int rename(const char* from, const char* to)
{
    return fails("open", to) ? -1 : static_cast<int>(::syscall(SYS_rename, from, to));
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to)
{
    return failsBelow("open", toDirectory, to)
        ? -1
        : static_cast<int>(::syscall(SYS_renameat, fromDirectory, from, toDirectory, to));
}

int clock_gettime(clockid_t clock, struct timespec* time)
{
    static const auto real = next<int (*)(clockid_t, struct timespec*)>("clock_gettime");
    const int result = real(clock, time);
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += Faults().number("clock", "");
    return result;
}

int gettimeofday(struct timeval* time, void* zone)
{
    static const auto real = next<int (*)(struct timeval*, void*)>("gettimeofday");
    const int result = real(time, zone);
    if (result == 0)
        time->tv_sec += Faults().number("clock", "");
    return result;
}

time_t time(time_t* result)
{
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result)
        *result = now.tv_sec;
    return now.tv_sec;
}

} // extern "C"
