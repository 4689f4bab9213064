#pragma once

#include <chrono>
#include <mutex>
#include <optional>

#include "Support/FileDescriptor.h"
#include "Support/LineOutput.h"

namespace glimto {

// Writes lines to an open file descriptor that it does not own. SIGPIPE must be ignored by the process.
//
// A pipe or terminal that nobody reads, and a socket, never make a write block: the first two are opened once
// more, without blocking, so that nothing changes for others who write to them.
class DescriptorLineOutput final : public LineOutput {
public:
    static constexpr std::chrono::milliseconds defaultPatience{2000};

    // `patience` is how long a line waits for a reader that does not read, however long the line is. Those
    // after it do not wait, until there is room again.
    explicit DescriptorLineOutput(int descriptor, std::chrono::milliseconds patience = defaultPatience);

    void writeLine(std::string_view line) override;
    void writeDocument(std::string_view text) override;

private:
    using Clock = std::chrono::steady_clock;
    enum class Outcome { written, readerStopped, failed };

    Outcome write(std::string_view text, std::optional<Clock::time_point> deadline);
    bool waitForRoom(std::optional<Clock::time_point> deadline) const;
    long writeSome(std::string_view text) const;

    int descriptor_;
    std::chrono::milliseconds patience_;
    bool isSocket_ = false;
    FileDescriptor nonBlocking_; // the same pipe or terminal; closed when it is none or cannot be had
    std::mutex mutex_;
    bool readerHasStopped_ = false;
    bool lineIsTorn_ = false; // a part of a line was written, which is all of it
};

} // namespace glimto
