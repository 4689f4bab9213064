#pragma once

#include <exception>
#include <functional>
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
        if (onLine)
            onLine(line);
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
    }

    void writeDocument(std::string_view text) override
    {
        if (documentError)
            std::rethrow_exception(documentError);
        writeLine(text);
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

    std::function<void(std::string_view)> onLine; // hears each line before it is kept
    std::exception_ptr documentError; // of every document

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace glimto
