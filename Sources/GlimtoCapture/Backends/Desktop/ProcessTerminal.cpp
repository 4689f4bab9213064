#include "Backends/Desktop/ProcessTerminal.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "Support/NonBlockingWriter.h"

namespace glimto {

namespace {

constexpr int usualWidth = 80;
constexpr std::string_view eraseLine = "\r\x1b[J";

// By hand: a signal handler has nothing but the process.
std::atomic<bool> isShown{false}; // there is a line to be erased
std::atomic<bool> handlesStops{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void handle(int signal, void (*handler)(int)) noexcept
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

void stop(int) noexcept
{
    const int savedError = errno;
    pollfd terminal = {.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    if (isShown && ::poll(&terminal, 1, 0) > 0) {
        [[maybe_unused]] const auto ignored = ::write(STDERR_FILENO, eraseLine.data(), eraseLine.size());
    }
    handle(SIGTSTP, SIG_DFL);
    // For another thread at once, or for this one when the handler returns.
    ::kill(::getpid(), SIGTSTP);
    errno = savedError;
}

void goOn(int) noexcept
{
    const int savedError = errno;
    if (handlesStops)
        handle(SIGTSTP, stop);
    errno = savedError;
}

void beginHandlingStops()
{
    struct sigaction before = {};
    ::sigaction(SIGTSTP, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    handlesStops = true;
    handle(SIGTSTP, stop);
    handle(SIGCONT, goOn);
}

class ProcessTerminal final : public Terminal {
public:
    explicit ProcessTerminal(bool hasColour)
        : writer_(STDERR_FILENO)
        , hasColour_(hasColour)
    {
    }

    ~ProcessTerminal() override
    {
        isShown = false;
        if (!handlesStops.exchange(false))
            return;
        handle(SIGTSTP, SIG_DFL);
        handle(SIGCONT, SIG_DFL);
    }

    ProcessTerminal(const ProcessTerminal&) = delete;
    ProcessTerminal& operator=(const ProcessTerminal&) = delete;

    bool neverBlocks() const { return writer_.neverBlocks(); }
    int width() const override
    {
        winsize size = {};
        return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
    }

    bool isInForeground() const override { return ::tcgetpgrp(STDERR_FILENO) == ::getpgrp(); }

    bool hasColour() const override { return hasColour_; }

    bool write(std::string_view text) override
    {
        rest_ += text;
        while (!rest_.empty()) {
            const auto written = writer_.write(rest_);
            if (written > 0) {
                rest_.erase(0, static_cast<std::size_t>(written));
                continue;
            }
            if (written < 0 && errno == EINTR)
                continue;
            if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
                rest_.clear(); // the terminal is gone
            break;
        }
        return rest_.empty();
    }

    void setLineWhenStopped(LineWhenStopped line) override
    {
        isShown = line == LineWhenStopped::erased;
        if (isShown && !handlesStops)
            beginHandlingStops();
    }

private:
    const NonBlockingWriter writer_;
    const bool hasColour_;
    std::string rest_; // what there was no room for
};

} // namespace

std::unique_ptr<Terminal> terminalOfProcess(const ProcessEnvironment& process)
{
    const auto kind = process.variable("TERM").value_or("");
    if (kind.empty() || kind == "dumb" || ::isatty(STDOUT_FILENO) != 1 || ::isatty(STDERR_FILENO) != 1)
        return nullptr;
    auto terminal = std::make_unique<ProcessTerminal>(process.variable("NO_COLOR").value_or("").empty());
    return terminal->neverBlocks() ? std::move(terminal) : nullptr;
}

} // namespace glimto
