#pragma once

#include <string>
#include <string_view>

namespace glimto {

// What the window list needs of a desktop file (Desktop Entry Specification 1.5). Text is valid UTF-8;
// a key that is missing is empty.
struct DesktopEntry {
    std::string type; // "Application" for programs
    std::string name; // not translated
    std::string startupWMClass; // the class that the program's windows have
    bool isHidden = false; // the file says that the entry is deleted

    bool isApplication() const { return type == "Application" && !name.empty() && !isHidden; }
};

// Reads the group "Desktop Entry" of a desktop file's text. Lines that make no sense are passed over;
// the first of several lines with one key counts.
DesktopEntry parseDesktopEntry(std::string_view text);

} // namespace glimto
