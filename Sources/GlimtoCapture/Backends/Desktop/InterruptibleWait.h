#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "Support/FileDescriptor.h"

namespace glimto {

// A wait that ends early when a signal handler or a file that appears ends it. Where the system has no
// descriptors left for that, it lasts as long as it may.
class InterruptibleWait {
public:
    // From here on it can be interrupted. Returns where interrupt() writes to, -1 when there is none.
    int begin();

    // Ends the wait that runs, or else the next one. May be called in a signal handler.
    static void interrupt(int descriptor) noexcept;

    // waitFor() ends as well when this file appears in its directory, as far as that is there by now.
    void watch(const std::filesystem::path& file);

    // By one thread.
    void waitFor(std::chrono::nanoseconds longest);

private:
    bool sawFile();

    FileDescriptor event_;
    FileDescriptor directory_; // inotify
    std::string fileName_;
};

} // namespace glimto
