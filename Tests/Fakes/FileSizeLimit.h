#pragma once

#include <csignal>

#include <sys/resource.h>

namespace glimto {

// Files of this process can grow to `bytes` only while this lives: a disk that takes no more.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
        : previousHandler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit limited = previous_;
        limited.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_ = {};
    void (*previousHandler_)(int);
};

} // namespace glimto
