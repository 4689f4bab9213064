#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "Support/MemoryMapping.h"

struct pw_buffer;

namespace glimto {

// A piece of shared memory that another process fills, for reading. It stays mapped as long as somebody looks
// at it, whatever becomes of the stream that brought it.
class MappedMemory {
public:
    // Null when the descriptor is no memory of at least `offset` + `length` bytes that is sealed against
    // shrinking: looking at what is gone would end this process.
    static std::shared_ptr<MappedMemory> map(int descriptor, std::size_t offset, std::size_t length);

    const std::uint8_t* bytes() const { return mapping_.bytes() + offset_; }

    // Consumers that look at it.
    std::atomic<int> leases = 0;

private:
    MemoryMapping mapping_;
    std::size_t offset_ = 0; // of its first byte in the mapping, which begins with a page
};

// A buffer of a stream as this program sees it.
struct PipeWireBuffer {
    pw_buffer* handle = nullptr; // null once the stream has taken the buffer away
    std::shared_ptr<MappedMemory> memory; // null when it lies in memory of the stream's own
    const std::uint8_t* bytes = nullptr; // null when it cannot be looked at
    int descriptor = -1; // of memory that can only be read as a file, from `descriptorOffset` on
    std::size_t descriptorOffset = 0;
    std::size_t size = 0;

    // Fills `target` with what lies from `offset` on; false when there is not as much.
    bool read(std::size_t offset, std::span<std::uint8_t> target) const;
};

} // namespace glimto
