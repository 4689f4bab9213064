#pragma once

#include <cstddef>
#include <fstream>

#include <sys/resource.h>
#include <unistd.h>

namespace glimto {

// While this object lives, the process gets no more than so many bytes of memory beyond what it has: what
// asks for more gets std::bad_alloc. Without effect under a sanitizer, which has memory of its own.
class MemoryLimit {
public:
    explicit MemoryLimit(std::size_t bytes)
    {
        ::getrlimit(RLIMIT_DATA, &previous_);
#ifndef GLIMTO_SANITIZED
        const rlimit limit = {.rlim_cur = dataBytes() + bytes, .rlim_max = previous_.rlim_max};
        ::setrlimit(RLIMIT_DATA, &limit);
#else
        static_cast<void>(bytes);
#endif
    }
    ~MemoryLimit()
    {
        ::setrlimit(RLIMIT_DATA, &previous_);
    }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

private:
    static std::size_t dataBytes()
    {
        std::ifstream file("/proc/self/statm");
        std::size_t pages = 0;
        for (int field = 0; field < 6; ++field) // the sixth: data and stack
            file >> pages;
        return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    }

    rlimit previous_ = {};
};

} // namespace glimto
