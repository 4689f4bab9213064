#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

#include "Backends/Desktop/InterruptibleWait.h"
#include "Platform/StopRequests.h"

namespace glimto {

// Wishes that arrive as SIGINT, SIGTERM or SIGHUP, or as the end of the parent process when our
// standard output is a pipe or socket to somebody who reads it.
//
// From beginListening() on the first wish is kept and further signals do nothing, except that a second
// SIGINT more than a second after the first one ends the process by that signal. A signal stays ignored for a
// process that was started so (SIGHUP by nohup, SIGINT by a shell for what it runs in the background). After
// the destructor it is the same: what the process was to do is done, and a signal while it ends must not make
// it look otherwise. Signals belong to the process, so only one object listens at a time; its operations are
// called from one thread.
class ProcessStopRequests final : public StopRequests {
public:
    // Make it at the start of the program: a change of parent is one after this.
    ProcessStopRequests();
    ~ProcessStopRequests() override;
    ProcessStopRequests(const ProcessStopRequests&) = delete;
    ProcessStopRequests& operator=(const ProcessStopRequests&) = delete;

    void beginListening() override;
    void acknowledge() override;
    void passOn() override;
    std::optional<std::string> pendingRequest() override;
    void watch(const std::filesystem::path& file) override { wait_.watch(file); }
    void wait(std::chrono::nanoseconds longest) override { wait_.waitFor(longest); }

private:
    void endListening();

    InterruptibleWait wait_;
    pid_t parent_;
    bool isListening_ = false;
    bool watchesParent_ = false;
    std::optional<std::string> request_;
};

} // namespace glimto
