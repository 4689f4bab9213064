#pragma once

#include <chrono>
#include <mutex>

#include "Support/LineOutput.h"

namespace glimto {

// Writes lines to an open file descriptor that it does not own. SIGPIPE must be ignored by the process.
class DescriptorLineOutput final : public LineOutput {
public:
    static constexpr std::chrono::milliseconds defaultPatience{2000};

    // `patience` is how long a line waits for a reader that does not read.
    explicit DescriptorLineOutput(int descriptor, std::chrono::milliseconds patience = defaultPatience)
        : descriptor_(descriptor)
        , patience_(patience)
    {
    }

    void writeLine(std::string_view line) override;

private:
    int descriptor_;
    std::chrono::milliseconds patience_;
    std::mutex mutex_;
    bool readerHasStopped_ = false;
};

} // namespace glimto
