#pragma once

#include <array>
#include <csignal>
#include <filesystem>

namespace glimto {

// While this object lives, SIGINT, SIGTERM and SIGHUP remove the file before they end the process as they
// would have done anyway. Signals that are ignored stay so.
//
// Signals belong to the process, so there is only one such object at a time. The file need not exist; a path
// of 4096 bytes or more is not removed.
class RemovedOnSignal {
public:
    explicit RemovedOnSignal(const std::filesystem::path& file);
    ~RemovedOnSignal();
    RemovedOnSignal(const RemovedOnSignal&) = delete;
    RemovedOnSignal& operator=(const RemovedOnSignal&) = delete;

private:
    std::array<struct sigaction, 3> previousActions_;
};

} // namespace glimto
