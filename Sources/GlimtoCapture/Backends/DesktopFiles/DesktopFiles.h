#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Backends/DesktopFiles/DesktopEntry.h"

namespace glimto {

// A program that is installed on this desktop.
struct DesktopApplication {
    std::string id; // the desktop file's name without ".desktop", such as "org.gnome.TextEditor"
    std::string name; // valid UTF-8, not empty

    friend bool operator==(const DesktopApplication&, const DesktopApplication&) = default;
};

// The installed programs, found in desktop files when they are asked for. What was found is kept, so
// this object is for short use. Files that are huge, broken, unreadable or no regular files are as
// good as missing; nothing throws. To be used by one thread at a time.
class DesktopFiles {
public:
    // Of several files with one id the one in the first directory counts.
    explicit DesktopFiles(std::vector<std::filesystem::path> directories);

    // "applications" in $XDG_DATA_HOME and each of $XDG_DATA_DIRS, with the defaults of the XDG Base
    // Directory Specification.
    static std::vector<std::filesystem::path> standardDirectories();

    // The program with this id. Reads one file a directory at most.
    std::optional<DesktopApplication> withID(const std::string& id);

    // The program that names `windowClass` as the class of its windows, small and capital ASCII letters
    // alike. Reads all desktop files when asked for the first time.
    std::optional<DesktopApplication> withWindowClass(const std::string& windowClass);

private:
    std::optional<DesktopApplication> readID(const std::string& id) const;
    void indexWindowClasses();
    void indexDirectory(const std::filesystem::path& directory, const std::string& idPrefix, int depth,
        std::set<std::string>& seen);

    std::vector<std::filesystem::path> directories_;
    std::map<std::string, std::optional<DesktopApplication>> byID_; // every id asked for
    std::optional<std::map<std::string, DesktopApplication>> byWindowClass_; // lower case
};

} // namespace glimto
