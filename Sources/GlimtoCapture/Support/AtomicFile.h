#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "Support/FileBelow.h"
#include "Support/FileDescriptor.h"

namespace glimto {

// Who may read a file: whom the umask leaves, or the owner alone.
enum class FileReaders { byUmask, owner };

// A file that appears whole under its final name or not at all.
//
// Who may read it is what the user's umask leaves, as with other programs' documents, unless it is private.
//
// The data goes to a hidden temporary file in the same directory, ".<name>.<16 hexadecimal digits>.tmp",
// which commit() flushes to the disk, closes and renames onto the final name. The name itself is safe from a
// power cut only after syncDirectory(). Destroyed without commit(), the temporary file is
// removed and the final name is left as it was. All operations throw PlatformError (POSIX).
class AtomicFile {
public:
    explicit AtomicFile(FileBelow file, FileReaders readers = FileReaders::byUmask);
    explicit AtomicFile(const std::filesystem::path& path);

    // With a temporary file of the caller's choice in the same directory; it must not exist yet.
    AtomicFile(FileBelow file, std::string temporaryName, FileReaders readers = FileReaders::byUmask);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void write(std::span<const std::byte> data);

    // Flushes and closes the temporary file: all that can fail for want of space has been done then.
    // commit() does it if need be.
    void finish();
    void commit();

    // Bytes written so far.
    std::size_t size() const { return size_; }

private:
    [[noreturn]] void fail(int errorNumber) const;

    FileBelow file_;
    std::string name_; // in the directory
    std::string temporaryName_; // empty once it has its final name
    FileDescriptor directory_;
    FileDescriptor descriptor_;
    std::size_t size_ = 0;
};

// The final name of a temporary file that a process which was killed has left; absent when `name` is none.
std::optional<std::string> fileOfTemporary(std::string_view name);

// Flushes what files and directories `directory` holds by which names, not what is in them. Throws
// PlatformError (POSIX).
void syncDirectory(const std::filesystem::path& directory);

void writeFileAtomically(
    const FileBelow& file, std::span<const std::byte> data, FileReaders readers = FileReaders::byUmask);
void writeFileAtomically(
    const FileBelow& file, std::string_view text, FileReaders readers = FileReaders::byUmask);
void writeFileAtomically(const std::filesystem::path& path, std::string_view text);

} // namespace glimto
