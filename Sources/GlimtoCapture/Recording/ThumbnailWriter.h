#pragma once

#include <filesystem>
#include <memory>

#include "Platform/ImageCodec.h"
#include "Platform/VideoFrame.h"
#include "Support/LineOutput.h"
#include "Support/SerialQueue.h"

namespace glimto {

// Saves the first frame of a recording as a JPEG in its full size, away from the capture thread
// ("glimto.capture.thumbnail"). A failure prints a warning to standard error and leaves no file.
class ThumbnailWriter {
public:
    // The codec and `standardError` outlive the process's last command.
    ThumbnailWriter(std::filesystem::path outputURL, ImageCodec& codec, LineOutput& standardError);

    // Waits for the write, but lets go of one that hangs.
    ~ThumbnailWriter();

    // Schedules the write of the first frame that has a picture; later frames are ignored. Any thread.
    void captureFirstFrame(const VideoFrame& frame);

    // Returns when no write is scheduled or running: at once when there was no frame.
    void waitUntilWritten();

private:
    struct State;

    std::shared_ptr<State> state_; // shared with the scheduled write
    SerialQueue queue_;
};

} // namespace glimto
