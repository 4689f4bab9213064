#pragma once

#include <memory>
#include <string>

#include "Platform/ProcessEnvironment.h"
#include "Platform/Terminal.h"
#include "Support/NonBlockingWriter.h"

namespace glimto {

// The terminal that is both standard output and standard error.
//
// Signals belong to the process, so there is one such object at a time: once there is something to be erased
// it handles SIGTSTP, unless that is ignored, and SIGCONT. The process stops and goes on as it would have
// without.
class ProcessTerminal final : public Terminal {
public:
    // Null unless both streams are terminals that understand the usual escape sequences (TERM is set and not
    // "dumb"). NO_COLOR, when it is set to anything, takes the colours away.
    static std::unique_ptr<ProcessTerminal> ofProcess(const ProcessEnvironment& process);

    ~ProcessTerminal() override;
    ProcessTerminal(const ProcessTerminal&) = delete;
    ProcessTerminal& operator=(const ProcessTerminal&) = delete;

    int width() const override;
    bool isInForeground() const override;
    bool hasColour() const override { return hasColour_; }
    bool write(std::string_view text) override;
    void eraseWhenStopped(bool erases) override;

private:
    explicit ProcessTerminal(bool hasColour);

    const NonBlockingWriter writer_;
    const bool hasColour_;
    std::string rest_; // what there was no room for
};

} // namespace glimto
