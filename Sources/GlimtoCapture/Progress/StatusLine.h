#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "Platform/Terminal.h"
#include "Progress/ProgressSink.h"
#include "Support/LineOutput.h"

namespace glimto {

// One line of a terminal that tells how far a recording is, below everything else that is printed there.
//
// The cursor rests at its beginning, on a blank: what somebody types or what the shell writes comes there,
// and erasing from the cursor on removes the whole line, also when a narrower window has broken it in two. A
// terminal that does not take what is written now costs nobody any time.
class StatusLine final : public ProgressSink {
public:
    explicit StatusLine(std::unique_ptr<Terminal> terminal);
    ~StatusLine() override;

    void show(const RecordingSnapshot& snapshot) override;

    // Runs `write`, which prints to the same terminal, while the line is away.
    void stepAside(const std::function<void()>& write);

private:
    void draw(const std::string& text, bool isRecording);
    void erase();

    // By hand: `write` may wait for the terminal under it, and whoever else writes there waits with it.
    std::mutex mutex_;
    const std::unique_ptr<Terminal> terminal_;
    std::string shown_; // as it was written; empty while there is none
};

// Lines on the terminal of a status line, which steps aside for each.
class TerminalLineOutput final : public LineOutput {
public:
    // `inner` outlives this object. Without a status line this is nothing but `inner`.
    TerminalLineOutput(LineOutput& inner, std::shared_ptr<StatusLine> statusLine)
        : inner_(inner)
        , statusLine_(std::move(statusLine))
    {
    }

    void writeLine(std::string_view line) override;
    void writeDocument(std::string_view text) override;

private:
    void write(const std::function<void()>& write);

    LineOutput& inner_;
    const std::shared_ptr<StatusLine> statusLine_; // shared with who draws it; may be null
};

} // namespace glimto
