#pragma once

#include <string_view>

namespace glimto {

// The terminal at which a person looks at what this process prints. Used by one thread at a time.
class Terminal {
public:
    virtual ~Terminal() = default;

    // Columns, as of now; 80 when the terminal does not say.
    virtual int width() const = 0;

    // Whether this process is in the terminal's foreground: what runs in the background draws nothing.
    virtual bool isInForeground() const = 0;

    virtual bool hasColour() const = 0;

    // Writes `text`, escape sequences included, without waiting. What there was no room for comes before the
    // next text; false when that is so.
    virtual bool write(std::string_view text) = 0;

    // What a stop from the keyboard (Ctrl-Z) does first with the line of the cursor.
    enum class LineWhenStopped { erased, kept };
    virtual void setLineWhenStopped(LineWhenStopped line) = 0;
};

} // namespace glimto
