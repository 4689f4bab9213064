#include "Support/RemovedOnSignal.h"

#include <cstddef>
#include <cstring>

#include <unistd.h>

namespace glimto {

namespace {

constexpr std::array<int, 3> endingSignals{SIGINT, SIGTERM, SIGHUP};

// A signal handler has nothing but the process: what it removes cannot belong to an object.
std::array<char, 4096> filePath;

// Calls nothing but functions that are safe in a signal handler.
void removeAndEnd(int signal) noexcept
{
    if (filePath[0] != '\0')
        ::unlink(filePath.data());
    // The signal is blocked while it is handled, so the process ends when the handler returns.
    std::signal(signal, SIG_DFL);
    ::raise(signal);
}

} // namespace

RemovedOnSignal::RemovedOnSignal(const std::filesystem::path& file)
    : previousActions_()
{
    const std::string& path = file.native();
    filePath.fill('\0');
    if (path.size() < filePath.size())
        std::memcpy(filePath.data(), path.data(), path.size());
    for (std::size_t index = 0; index < endingSignals.size(); ++index) {
        ::sigaction(endingSignals[index], nullptr, &previousActions_[index]);
        if (previousActions_[index].sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = removeAndEnd;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(endingSignals[index], &action, nullptr);
    }
}

RemovedOnSignal::~RemovedOnSignal()
{
    for (std::size_t index = 0; index < endingSignals.size(); ++index)
        ::sigaction(endingSignals[index], &previousActions_[index], nullptr);
}

} // namespace glimto
