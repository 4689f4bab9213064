#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
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
    bool isBeside(const FileBelow& other) const; // in the same directory, by its names

    friend bool operator==(const FileBelow&, const FileBelow&) = default;
};

// The directory in which the file lies, for the calls that end in "at". Throws PlatformError (POSIX).
FileDescriptor openDirectoryOf(const FileBelow& file);

// A regular file that was opened, and its size then.
struct OpenedFile {
    FileDescriptor descriptor;
    std::uintmax_t size = 0; // in bytes
};

// The file for reading, which never waits for anybody. Throws PlatformError (POSIX), also when it is no
// regular file.
OpenedFile openForReading(const FileBelow& file);

// Whether openForReading() would succeed.
bool isRegularFile(const FileBelow& file) noexcept;

// The same for many files: while they lie in the same directory, the way there is gone once. What stood
// there then is read, whatever its name leads to later.
class FilesBelow {
public:
    // As the function of that name.
    OpenedFile openForReading(const FileBelow& file);

    // In bytes; absent when it is no regular file, or none is there. That it may be read is not said.
    std::optional<std::uintmax_t> sizeOf(const FileBelow& file) noexcept;

private:
    const FileDescriptor& directoryOf(const FileBelow& file);

    FileBelow last_; // a file in `directory_`
    FileDescriptor directory_;
};

} // namespace glimto
