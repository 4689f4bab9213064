#include "Backends/Desktop/ProcessStopRequests.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>

#include <sys/stat.h>
#include <unistd.h>

namespace glimto {

namespace {

constexpr std::array<int, 3> stopSignals{SIGINT, SIGTERM, SIGHUP};
constexpr std::int64_t secondInterruptDelay = 1'000'000'000; // nanoseconds

// By hand: a signal handler has nothing but the process. What it notes cannot belong to an object.
std::atomic<int> firstSignal{0};
std::atomic<std::int64_t> firstInterruptTime{0}; // nanoseconds, 0 when there was none
std::atomic<int> waitDescriptor{-1}; // of who listens
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<std::int64_t>::is_always_lock_free);

std::array<struct sigaction, stopSignals.size()> previousActions; // by hand: the process's, as signals are

std::int64_t monotonicNanoseconds() noexcept
{
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

// Calls nothing but functions that are safe in a signal handler.
void noteSignal(int signal) noexcept
{
    const int savedError = errno;
    int none = 0;
    firstSignal.compare_exchange_strong(none, signal);
    InterruptibleWait::interrupt(waitDescriptor);
    if (signal == SIGINT) {
        const std::int64_t now = monotonicNanoseconds();
        std::int64_t first = 0;
        const bool isFirst = firstInterruptTime.compare_exchange_strong(first, now);
        if (!isFirst && now - first > secondInterruptDelay) {
            // The signal is blocked while it is handled, so the process ends when the handler returns.
            std::signal(SIGINT, SIG_DFL);
            ::raise(SIGINT);
        }
    }
    errno = savedError;
}

bool isReadBySomebody(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

std::optional<std::string> requestOfSignal(int signal)
{
    switch (signal) {
    case SIGINT:
        return "Interrupt received; finishing recording";
    case SIGTERM:
        return "Termination signal received; finishing recording";
    case SIGHUP:
        return "Hangup received; finishing recording";
    default:
        return std::nullopt;
    }
}

} // namespace

ProcessStopRequests::ProcessStopRequests()
    : parent_(::getppid())
{
}

ProcessStopRequests::~ProcessStopRequests()
{
    waitDescriptor = -1;
}

void ProcessStopRequests::endListening()
{
    isListening_ = false;
    for (std::size_t index = 0; index < stopSignals.size(); ++index)
        ::sigaction(stopSignals[index], &previousActions[index], nullptr);
}

void ProcessStopRequests::beginListening()
{
    if (isListening_)
        return;
    isListening_ = true;
    watchesParent_ = isReadBySomebody(STDOUT_FILENO);
    firstSignal = 0;
    firstInterruptTime = 0;
    waitDescriptor = wait_.begin();
    for (std::size_t index = 0; index < stopSignals.size(); ++index) {
        const int signal = stopSignals[index];
        struct sigaction before = {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != noteSignal)
            previousActions[index] = before;
        if (before.sa_handler == SIG_IGN)
            continue;
        struct sigaction action = {};
        action.sa_handler = noteSignal;
        action.sa_flags = SA_RESTART;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

void ProcessStopRequests::acknowledge()
{
    firstSignal = 0;
    firstInterruptTime = 0;
    request_.reset();
}

void ProcessStopRequests::passOn()
{
    const int signal = firstSignal;
    if (signal == 0)
        return;
    endListening();
    ::raise(signal);
}

std::optional<std::string> ProcessStopRequests::pendingRequest()
{
    if (!request_ && isListening_)
        request_ = requestOfSignal(firstSignal);
    if (!request_ && watchesParent_ && ::getppid() != parent_)
        request_ = "Parent process ended; finishing recording";
    return request_;
}

} // namespace glimto
