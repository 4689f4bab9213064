#include "ProgressLine.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace glimto {

namespace {

constexpr std::chrono::milliseconds interval(200);

void writeToTerminal(std::string_view text)
{
    [[maybe_unused]] const auto ignored = ::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

ProgressLine::ProgressLine(std::string what)
    : what_(std::move(what))
    , isShown_(::isatty(STDERR_FILENO) == 1)
    , next_(std::chrono::steady_clock::now() + interval)
{
}

ProgressLine::~ProgressLine()
{
    if (hasWritten_)
        writeToTerminal("\r\x1b[K");
}

void ProgressLine::show(double done)
{
    if (!isShown_)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (now < next_)
        return;
    next_ = now + interval;
    hasWritten_ = true;
    const auto percent = std::lround(std::clamp(done, 0.0, 1.0) * 100);
    writeToTerminal("\r" + what_ + " " + std::to_string(percent) + " %");
}

} // namespace glimto
