// A library to be loaded before all others, which puts the folder $GLIMTO_TEST_INPUT_DEVICES in the place of
// /dev/input. Its pipes whose names end in "1" are mice, others keyboards. What they are asked to tell stands
// in its file "asked" afterwards:
//
//     event1 mask 1 272 273    of the events of type 1 those alone
//     event1 clock 1           times of that clock

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/input.h>
#include <unistd.h>

namespace {

template <typename Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string folder()
{
    const char* path = std::getenv("GLIMTO_TEST_INPUT_DEVICES");
    return path ? path : "";
}

std::string replaced(const char* path)
{
    constexpr const char* place = "/dev/input";
    return std::strncmp(path, place, std::strlen(place)) == 0 ? folder() + (path + std::strlen(place)) : path;
}

// The name of one of the pipes; empty for other files.
std::string nameOf(int descriptor)
{
    char path[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    const std::string text(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string start = folder() + "/";
    return text.compare(0, start.size(), start) == 0 ? text.substr(start.size()) : "";
}

void note(const std::string& line)
{
    const int file = ::open((folder() + "/asked").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    static_cast<void>(!::write(file, (line + "\n").c_str(), line.size() + 1));
    ::close(file);
}

constexpr unsigned bitsInWord = sizeof(unsigned long) * CHAR_BIT;

int tellKeys(const std::string& name, unsigned long request, void* answer)
{
    const std::size_t size = _IOC_SIZE(request);
    std::memset(answer, 0, size);
    const unsigned code = name.back() == '1' ? BTN_LEFT : KEY_A;
    static_cast<unsigned long*>(answer)[code / bitsInWord] |= 1UL << (code % bitsInWord);
    return static_cast<int>(size);
}

int mask(const std::string& name, const input_mask& wanted)
{
    std::string line = name + " mask " + std::to_string(wanted.type);
    const auto* words = reinterpret_cast<const unsigned long*>(static_cast<std::uintptr_t>(wanted.codes_ptr));
    for (unsigned code = 0; code < wanted.codes_size * CHAR_BIT; ++code) {
        if ((words[code / bitsInWord] >> (code % bitsInWord)) & 1UL)
            line += " " + std::to_string(code);
    }
    note(line);
    return 0;
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & O_CREAT) ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return next<int(const char*, int, ...)>("open")(replaced(path).c_str(), flags, mode);
}

int openat(int directory, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return next<int(int, const char*, int, ...)>("openat")(directory, replaced(path).c_str(), flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    const std::string name = _IOC_TYPE(request) == 'E' ? nameOf(descriptor) : "";
    if (name.empty())
        return next<int(int, unsigned long, ...)>("ioctl")(descriptor, request, argument);
    if (_IOC_NR(request) == _IOC_NR(EVIOCGBIT(EV_KEY, 0)))
        return tellKeys(name, request, argument);
    if (request == EVIOCSMASK)
        return mask(name, *static_cast<const input_mask*>(argument));
    if (request == EVIOCSCLOCKID)
        return note(name + " clock " + std::to_string(*static_cast<const int*>(argument))), 0;
    errno = EINVAL;
    return -1;
}
}
