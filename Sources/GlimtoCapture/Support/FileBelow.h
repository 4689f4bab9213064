#pragma once

#include <filesystem>
#include <string>

#include "Support/FileDescriptor.h"

namespace glimto {

// A file by a directory that somebody chose and its name below that, with slashes between its pieces.
// Symbolic links on the way to the directory are followed, none below it: what is opened lies in there.
struct FileBelow {
    std::filesystem::path directory;
    std::string name;

    // The file in the directory that it lies in.
    static FileBelow of(const std::filesystem::path& path);

    std::filesystem::path path() const { return directory / name; }
    std::string lastName() const; // without the directories

    friend bool operator==(const FileBelow&, const FileBelow&) = default;
};

// The directory in which the file lies, for the calls that end in "at". Throws PlatformError (POSIX).
FileDescriptor openDirectoryOf(const FileBelow& file);

// The file for reading, which never waits for anybody. Throws PlatformError (POSIX), also when it is no
// regular file.
FileDescriptor openForReading(const FileBelow& file);

// Whether openForReading() would succeed.
bool isRegularFile(const FileBelow& file) noexcept;

} // namespace glimto
