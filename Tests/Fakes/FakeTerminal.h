#pragma once

#include <string>

#include "Platform/Terminal.h"

namespace glimto {

// Keeps what is written.
class FakeTerminal final : public Terminal {
public:
    int columns = 80;
    bool foreground = true;
    bool colour = false;
    bool erases = false;
    std::string written;

    int width() const override { return columns; }
    bool isInForeground() const override { return foreground; }
    bool hasColour() const override { return colour; }
    bool write(std::string_view text) override
    {
        written += text;
        return true;
    }
    void setLineWhenStopped(LineWhenStopped line) override { erases = line == LineWhenStopped::erased; }
};

} // namespace glimto
