#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/MediaTime.h"

namespace glimto {

// What a stream says of one frame. The numbers are part of the contract.
enum class FrameStatus : int { complete = 0, idle = 1, blank = 2, suspended = 3, started = 4, stopped = 5 };

// A picture in memory that nobody changes any more: 32 bits a pixel, bytes B, G, R, X in this order
// (X is undefined), rows from top to bottom.
struct PixelBuffer {
    int width = 0;
    int height = 0;
    std::size_t bytesPerRow = 0; // at least 4 * width
    const std::uint8_t* bytes = nullptr; // valid as long as this object
    std::shared_ptr<const void> storage; // keeps `bytes` alive; its release gives the memory back to its pool
};

// One frame of a capture stream. Copies share the pixels.
struct VideoFrame {
    // Absent when the source attaches no status.
    std::optional<FrameStatus> status;

    // When the picture was taken, on the host clock; never runs backwards within a stream.
    MediaTime presentationTime;

    // Null when the frame carries no picture. All frames of a stream have the same size.
    // Shared by the stream's pool and every consumer that keeps the frame.
    std::shared_ptr<const PixelBuffer> pixels;

    // Counts the frames of a stream, from 0, without gaps.
    std::uint64_t sequenceNumber = 0;

    // Where the picture may differ from that of the frame with the previous sequence number. Empty
    // means that nothing changed. A consumer that missed that frame must take all as changed.
    // The first frame of a stream has one rectangle that covers it.
    std::vector<PixelRect> changedRects;
};

} // namespace glimto
