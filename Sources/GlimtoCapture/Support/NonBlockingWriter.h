#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "Support/FileDescriptor.h"

namespace glimto {

// Writes to an open file descriptor that it does not own, without waiting for who reads it. SIGPIPE must be
// ignored by the process.
//
// A pipe or terminal is opened once more, without blocking, so that nothing changes for others who write to
// it.
class NonBlockingWriter {
public:
    explicit NonBlockingWriter(int descriptor);

    // False for a terminal that cannot be opened again, as that of another user: a write may wait there.
    bool neverBlocks() const { return neverBlocks_; }

    // As write(2), with a part of `text`; EAGAIN when there is no room.
    long write(std::string_view text) const;

    // False when `limit` has passed without room; without a limit it waits for as long as it takes. Errors
    // count as room: the write tells them.
    bool waitForRoom(std::optional<std::chrono::milliseconds> limit) const;

private:
    int descriptor_;
    bool isSocket_ = false;
    bool neverBlocks_ = true;
    FileDescriptor again_; // the same pipe or terminal; closed when it is none or cannot be had
};

} // namespace glimto
