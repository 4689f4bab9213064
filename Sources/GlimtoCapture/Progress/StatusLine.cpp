#include "Progress/StatusLine.h"

#include <utility>

#include "Progress/StatusText.h"

namespace glimto {

namespace {

constexpr const char* eraseFromCursor = "\r\x1b[J";
constexpr std::size_t markLength = 3; // "REC"

} // namespace

StatusLine::StatusLine(std::unique_ptr<Terminal> terminal)
    : terminal_(std::move(terminal))
{
}

StatusLine::~StatusLine()
{
    erase();
}

void StatusLine::show(const RecordingSnapshot& snapshot)
{
    const std::lock_guard lock(mutex_);
    std::string text;
    if (terminal_->isInForeground())
        text = statusText(snapshot, terminal_->width());
    if (text.empty())
        erase();
    else
        draw(text, snapshot.phase == RecordingPhase::recording);
}

void StatusLine::draw(const std::string& text, bool isRecording)
{
    std::string line = text;
    if (isRecording && terminal_->hasColour() && line.size() >= markLength)
        line = "\x1b[1;31m" + line.substr(0, markLength) + "\x1b[0m" + line.substr(markLength);
    shown_ = eraseFromCursor + (" " + line) + "\r";
    terminal_->setLineWhenStopped(Terminal::LineWhenStopped::erased);
    terminal_->write(shown_);
}

void StatusLine::erase()
{
    if (std::exchange(shown_, "").empty())
        return;
    terminal_->write(eraseFromCursor);
    terminal_->setLineWhenStopped(Terminal::LineWhenStopped::kept);
}

void StatusLine::stepAside(const std::function<void()>& write)
{
    const std::lock_guard lock(mutex_);
    const std::string line = shown_;
    erase();
    write();
    if (line.empty() || !terminal_->isInForeground())
        return;
    shown_ = line;
    terminal_->setLineWhenStopped(Terminal::LineWhenStopped::erased);
    terminal_->write(line);
}

void TerminalLineOutput::writeLine(std::string_view line)
{
    write([&] { inner_.writeLine(line); });
}

void TerminalLineOutput::writeDocument(std::string_view text)
{
    write([&] { inner_.writeDocument(text); });
}

void TerminalLineOutput::write(const std::function<void()>& write)
{
    if (statusLine_)
        statusLine_->stepAside(write);
    else
        write();
}

} // namespace glimto
