#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "Support/LineOutput.h"

namespace glimto {

// Keeps the lines. Safe to use from any thread.
class FakeLineOutput final : public LineOutput {
public:
    void writeLine(std::string_view line) override
    {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
    }

    std::vector<std::string> lines() const
    {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

    // All lines, each with its newline.
    std::string text() const
    {
        const std::lock_guard lock(mutex_);
        std::string result;
        for (const auto& line : lines_)
            result += line + "\n";
        return result;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace glimto
