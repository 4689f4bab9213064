#pragma once

#include <chrono>
#include <memory>

#include "Support/LineOutput.h"
#include "Support/NamedThread.h"

namespace glimto {

// Writes lines to an open file descriptor that it does not own. SIGPIPE must be ignored by the process.
//
// No line waits for a reader. What a pipe, socket or terminal has no room for is kept, up to
// `mostWaitingBytes`, and written by a thread of its own once there is room; lines beyond that are dropped
// whole.
class DescriptorLineOutput final : public LineOutput {
public:
    static constexpr std::size_t mostWaitingBytes = 256U << 10U;
    static constexpr std::chrono::milliseconds defaultPatience{2000};

    // `patience` is how long the destructor waits for a reader that leaves lines unread, from when it last
    // read.
    explicit DescriptorLineOutput(int descriptor, std::chrono::milliseconds patience = defaultPatience);
    ~DescriptorLineOutput() override;

    void writeLine(std::string_view line) override;
    void writeDocument(std::string_view text) override;

private:
    struct Core;

    void startThread();

    std::chrono::milliseconds patience_;
    std::shared_ptr<Core> core_; // this object's and its thread's
    std::unique_ptr<NamedThread>
        thread_; // from the first line on that had to be kept; the core's lock guards it
};

} // namespace glimto
