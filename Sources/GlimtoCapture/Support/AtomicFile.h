#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>

#include "Support/FileDescriptor.h"

namespace glimto {

// A file that appears whole under its final name or not at all.
//
// The data goes to a hidden temporary file in the same directory, which commit() flushes to the
// disk, closes and renames onto the final name. Destroyed without commit(), the temporary file is
// removed and the final name is left as it was. All operations throw PlatformError (POSIX).
class AtomicFile {
public:
    explicit AtomicFile(std::filesystem::path path);

    // With a temporary file of the caller's choice, in the same directory; it must not exist yet.
    AtomicFile(std::filesystem::path path, std::filesystem::path temporaryPath);
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
    std::filesystem::path path_;
    std::filesystem::path temporaryPath_;
    FileDescriptor descriptor_;
    std::size_t size_ = 0;
};

void writeFileAtomically(const std::filesystem::path& path, std::span<const std::byte> data);
void writeFileAtomically(const std::filesystem::path& path, std::string_view text);

} // namespace glimto
