#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string>

#include "Audio/AudioMixer.h"
#include "Platform/AudioInput.h"
#include "Platform/CaptureStream.h"
#include "Recording/SegmentedMP4Writer.h"
#include "Recording/ThumbnailWriter.h"
#include "Support/Guarded.h"
#include "Support/LineOutput.h"

namespace glimto {

// Receives what a capture stream delivers and hands it to those who use it: the first usable frame to
// the thumbnail writer, every usable frame to the segmented writer, and system audio to the mixer.
//
// The handlers of the stream and of the system audio, and the recording session, own it together.
class ScreenCaptureOutput : public std::enable_shared_from_this<ScreenCaptureOutput> {
public:
    // `audioMixer` is null when no audio is recorded. The outputs outlive the stream.
    ScreenCaptureOutput(std::shared_ptr<SegmentedMP4Writer> writer,
        std::shared_ptr<ThumbnailWriter> thumbnailWriter, std::shared_ptr<AudioMixer> audioMixer,
        Outputs outputs);

    // Handlers that keep this object alive. The object must be owned by a shared_ptr.
    CaptureStream::Handlers handlers();

    // The same for system audio.
    AudioInput::Handlers systemAudioHandlers();

    // A frame from the stream. Nothing escapes: an unexpected failure counts as the stream's.
    void didOutputFrame(const VideoFrame& frame) noexcept;

    // System audio. Dropped when no audio is recorded.
    void didOutputAudio(const AudioBuffer& buffer) const;

    // System audio stays away, for the reason that the sentence tells. The recording goes on without; what
    // is missing is silence. Only the first time it is worth a warning.
    void didInterruptAudio(const std::string& description) noexcept;

    // The stream ended by itself. The first error is kept; every one is told on standard output.
    void didStopWithError(const std::exception_ptr& error) noexcept;

    // Why the stream ended by itself; null while it has not.
    std::exception_ptr stoppedWithError() const;

private:
    const std::shared_ptr<SegmentedMP4Writer> writer_; // shared with the session's stop stages
    const std::shared_ptr<ThumbnailWriter> thumbnailWriter_; // likewise
    const std::shared_ptr<AudioMixer> audioMixer_; // shared with the microphone as well; may be null
    const Outputs outputs_;
    Guarded<std::exception_ptr> stoppedWithError_;
    std::atomic<bool> didWarnOfAudio_ = false;
};

} // namespace glimto
