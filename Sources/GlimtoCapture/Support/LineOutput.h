#pragma once

#include <string_view>

namespace glimto {

// A stream of whole lines that somebody reads while they are written.
class LineOutput {
public:
    virtual ~LineOutput() = default;

    // Writes `line` and one newline in one piece, at once; lines of several threads never mix. A
    // reader that went away is not an error: the line is dropped. `line` may hold newlines of its own.
    virtual void writeLine(std::string_view line) = 0;
};

// The two streams every part of the program speaks through.
struct Outputs {
    LineOutput& standardOutput;
    LineOutput& standardError;
};

} // namespace glimto
