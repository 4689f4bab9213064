#pragma once

#include <cstddef>
#include <span>
#include <utility>

namespace glimto {

// Owns one open file descriptor.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : descriptor_(descriptor)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other) {
            close();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }
    ~FileDescriptor() { close(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }

    // Closes now. Returns the error number of close(2), 0 when all went well or nothing was open.
    int close() noexcept;

private:
    int descriptor_ = -1;
};

// Writes all of `data`, which may wait for the reader. False, with errno, when that failed.
bool writeAll(int descriptor, std::span<const std::byte> data) noexcept;

} // namespace glimto
