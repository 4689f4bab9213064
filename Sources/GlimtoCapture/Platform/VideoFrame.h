#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/FramePicture.h"
#include "Platform/Geometry.h"
#include "Platform/MediaTime.h"

namespace glimto {

// What a stream says of one frame. The numbers are part of the contract.
enum class FrameStatus : int { complete = 0, idle = 1, blank = 2, suspended = 3, started = 4, stopped = 5 };

// One frame of a capture stream. Copies share the picture.
struct VideoFrame {
    // Absent when the source attaches no status.
    std::optional<FrameStatus> status;

    // When the picture was taken, on the host clock; never runs backwards within a stream.
    MediaTime presentationTime;

    // Null when the frame carries none. All frames of a stream have the same size.
    // Shared by the stream and every consumer that keeps the frame.
    std::shared_ptr<const FramePicture> picture;

    // Counts the frames of a stream, from 0, without gaps.
    std::uint64_t sequenceNumber = 0;

    // Where the picture may differ from that of the frame with the previous sequence number. Empty
    // means that nothing changed. A consumer that missed that frame must take all as changed.
    // The first frame of a stream has one rectangle that covers it.
    std::vector<PixelRect> changedRects;

    // Whether it shows the screen: it has a picture, and its status, when there is one, is complete or
    // started.
    bool isUsableScreenFrame() const
    {
        return picture && (!status || status == FrameStatus::complete || status == FrameStatus::started);
    }
};

} // namespace glimto
