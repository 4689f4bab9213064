#pragma once

#include <string_view>

namespace glimto {

// A stream of whole lines that somebody reads while they are written.
class LineOutput {
public:
    virtual ~LineOutput() = default;

    // Writes `line` and one newline; lines of several threads never mix. Waits for no reader: one that went
    // away is not an error, and of what one that does not read has left too much is dropped. Control
    // characters become spaces, as in singleLine().
    virtual void writeLine(std::string_view line) = 0;

    // Writes what a command was run for, as it is and with one newline, whose reader may be a pager: waits
    // for it as long as it takes. Throws PlatformError (POSIX) when it cannot be written.
    virtual void writeDocument(std::string_view text) = 0;
};

// The two streams every part of the program speaks through.
struct Outputs {
    LineOutput& standardOutput;
    LineOutput& standardError;
    bool givesHints = false; // a person at a terminal reads both
};

} // namespace glimto
