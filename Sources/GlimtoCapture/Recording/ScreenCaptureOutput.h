#pragma once

#include <exception>
#include <memory>

#include "Platform/CaptureStream.h"
#include "Recording/SegmentedMP4Writer.h"
#include "Recording/ThumbnailWriter.h"
#include "Support/Guarded.h"
#include "Support/LineOutput.h"

namespace glimto {

// Receives what a capture stream delivers and hands it to those who use it: the first usable frame to
// the thumbnail writer, every usable frame to the segmented writer. System audio will go to the mixer
// from here.
//
// The stream's handlers and the recording session own it together.
class ScreenCaptureOutput : public std::enable_shared_from_this<ScreenCaptureOutput> {
public:
    // `standardOutput` outlives the stream.
    ScreenCaptureOutput(std::shared_ptr<SegmentedMP4Writer> writer,
        std::shared_ptr<ThumbnailWriter> thumbnailWriter, LineOutput& standardOutput);

    // Handlers that keep this object alive. The object must be owned by a shared_ptr.
    CaptureStream::Handlers handlers();

    // A frame from the stream. Nothing escapes: an unexpected failure counts as the stream's.
    void didOutputFrame(const VideoFrame& frame) noexcept;

    // The stream ended by itself. The first error is kept; every one is told on standard output.
    void didStopWithError(const std::exception_ptr& error) noexcept;

    // Why the stream ended by itself; null while it has not.
    std::exception_ptr stoppedWithError() const;

    // Whether the frame shows the screen: it carries a picture, and its status, when it has one, is
    // complete or started.
    static bool isUsableScreenFrame(const VideoFrame& frame);

private:
    const std::shared_ptr<SegmentedMP4Writer> writer_; // shared with the session's stop stages
    const std::shared_ptr<ThumbnailWriter> thumbnailWriter_; // likewise
    LineOutput& standardOutput_;
    Guarded<std::exception_ptr> stoppedWithError_;
};

} // namespace glimto
