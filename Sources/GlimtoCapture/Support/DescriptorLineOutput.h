#pragma once

#include <mutex>

#include "Support/LineOutput.h"

namespace glimto {

// Writes lines to an open file descriptor that it does not own. SIGPIPE must be ignored by the process.
class DescriptorLineOutput final : public LineOutput {
public:
    explicit DescriptorLineOutput(int descriptor)
        : descriptor_(descriptor)
    {
    }

    void writeLine(std::string_view line) override;

private:
    int descriptor_;
    std::mutex mutex_;
    bool readerHasStopped_ = false;
};

} // namespace glimto
