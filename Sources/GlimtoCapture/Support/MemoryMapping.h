#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <sys/mman.h>

namespace glimto {

// Memory that was mapped with mmap(), unmapped at the end of its life. Empty, with errno, when that failed.
class MemoryMapping {
public:
    MemoryMapping() = default;
    MemoryMapping(std::size_t size, int protection, int flags, int descriptor, off_t offset = 0)
        : size_(size)
    {
        void* address = ::mmap(nullptr, size, protection, flags, descriptor, offset);
        bytes_ = address == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(address);
    }
    ~MemoryMapping()
    {
        if (bytes_)
            ::munmap(bytes_, size_);
    }
    MemoryMapping(MemoryMapping&& other) noexcept
        : bytes_(std::exchange(other.bytes_, nullptr))
        , size_(other.size_)
    {
    }
    MemoryMapping& operator=(MemoryMapping&& other) noexcept
    {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        return *this;
    }

    explicit operator bool() const { return bytes_ != nullptr; }
    std::uint8_t* bytes() const { return bytes_; }
    std::size_t size() const { return size_; }

private:
    std::uint8_t* bytes_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace glimto
