#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "Support/FileBelow.h"
#include "Support/FileDescriptor.h"

namespace glimto {

enum class SymbolicLinks { followed, refused };

// A regular file that is open for reading. Its opening never waits for somebody to write into a FIFO, and
// takes no terminal.
class RegularFile {
public:
    // Absent when something else stands there, such as a directory, a FIFO or, when refused, a symbolic link.
    // Throws PlatformError (POSIX) "<failure>: ..." when it cannot be opened or, later, read; without
    // `failure` that is "Could not read <path>".
    static std::optional<RegularFile> open(const std::filesystem::path& path,
        SymbolicLinks links = SymbolicLinks::followed, std::string failure = {});

    // One that lies below a directory. Throws PlatformError (POSIX) when it cannot be opened or is none.
    static RegularFile open(const FileBelow& file);
    static RegularFile open(const FileBelow& file, FilesBelow& files);

    // Bytes when it was opened.
    std::uintmax_t size() const { return size_; }

    // What errors begin with.
    const std::string& failure() const { return failure_; }

    // Fills `target` as far as the file reaches. Returns how many bytes that were.
    std::size_t read(std::span<std::byte> target) const;

    // The same from a place of its own, which the other operations do not care about.
    std::size_t readAt(std::uintmax_t offset, std::span<std::byte> target) const;

    // The next bytes, `mostBytes` of them or as many as there are.
    std::string readText(std::size_t mostBytes) const;

    // All of it. Throws PlatformError (POSIX) when that is more than `mostBytes`.
    std::string readWhole(std::size_t mostBytes) const;

private:
    RegularFile(FileDescriptor file, std::uintmax_t size, std::string failure);

    FileDescriptor file_;
    std::uintmax_t size_ = 0;
    std::string failure_;
};

// The content of a regular file; absent as above. Throws PlatformError (POSIX) when it cannot be read or is
// longer than `mostBytes`.
std::optional<std::string> readRegularFile(
    const std::filesystem::path& path, std::size_t mostBytes, SymbolicLinks links);

// The same below a directory. Throws also when it is not there or no regular file.
std::string readFile(const FileBelow& file, std::size_t mostBytes);

} // namespace glimto
