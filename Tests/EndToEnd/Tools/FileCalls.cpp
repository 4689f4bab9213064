// Loaded before the program's libraries (LD_PRELOAD), writes down in the file that GLIMTO_FILE_CALLS names,
// one line each and in their order: "fsync <path>", "rename <from> <to>", "mkdir <path>", and "tell <text>"
// for what goes to standard output.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

template <typename Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string pathOf(int descriptor)
{
    char path[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : "?";
}

void note(const std::string& line)
{
    static auto* const write = next<decltype(::write)>("write");
    static const int log
        = ::open(std::getenv("GLIMTO_FILE_CALLS"), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const std::string text = line + "\n";
    static_cast<void>(write(log, text.data(), text.size()));
}

} // namespace

extern "C" {

int fsync(int descriptor)
{
    note("fsync " + pathOf(descriptor));
    return next<decltype(::fsync)>("fsync")(descriptor);
}

int renameat(int fromDirectory, const char* from, int toDirectory, const char* to)
{
    note("rename " + pathOf(fromDirectory) + "/" + from + " " + pathOf(toDirectory) + "/" + to);
    return next<decltype(::renameat)>("renameat")(fromDirectory, from, toDirectory, to);
}

int mkdir(const char* path, mode_t mode)
{
    const int result = next<decltype(::mkdir)>("mkdir")(path, mode);
    if (result == 0)
        note(std::string("mkdir ") + path);
    return result;
}

ssize_t write(int descriptor, const void* data, size_t size)
{
    static const std::string output = pathOf(STDOUT_FILENO);
    if (pathOf(descriptor) == output && output != "?")
        note("tell " + std::string(static_cast<const char*>(data), size > 0 ? size - 1 : 0));
    return next<decltype(::write)>("write")(descriptor, data, size);
}
}
