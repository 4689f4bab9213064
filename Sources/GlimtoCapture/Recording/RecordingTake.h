#pragma once

#include <memory>
#include <optional>

#include "Artifacts/OutputPlan.h"
#include "Artifacts/TakeDirectories.h"
#include "Audio/AudioMixer.h"
#include "Audio/MicrophoneCapture.h"
#include "Audio/SystemAudioCapture.h"
#include "InputEvents/InputEventRecorder.h"
#include "Platform/CaptureOpening.h"
#include "Recording/ScreenCaptureOutput.h"
#include "Recording/SegmentedMP4Writer.h"
#include "Recording/ThumbnailWriter.h"
#include "Support/FileDescriptor.h"
#include "Support/SerialQueue.h"

namespace glimto {

// What one recording consists of, as far as it has come: null is what was not made yet or not asked for.
//
// Stages of the end that hang own the stream and the writers together with this.
struct RecordingTake {
    OutputPlan plan;
    std::optional<TakeDirectories> directories; // set when the plan is prepared
    CaptureFacts facts; // of what was opened
    std::shared_ptr<SegmentedMP4Writer> writer;
    std::shared_ptr<AudioMixer> audioMixer; // null without audio
    std::unique_ptr<MicrophoneCapture> microphone;
    std::shared_ptr<ThumbnailWriter> thumbnailWriter;
    std::shared_ptr<ScreenCaptureOutput> output;
    std::shared_ptr<CaptureStream> stream;
    std::shared_ptr<SystemAudioCapture> systemAudio;
    std::unique_ptr<InputEventRecorder> eventRecorder;
    CursorInVideo cursor = CursorInVideo::shown;

    // What the stages of the end run on. Made with the take, so that a thread that cannot be started then
    // costs no take.
    std::unique_ptr<SerialQueue> stopQueue = std::make_unique<SerialQueue>("glimto.capture.stop");

    // Tells the track of input events when the first frame was, once that is known.
    void anchorInputEvents() const;

    // Ends the track of input events, with the time of the first frame, and writes it.
    void stopInputEvents() const;

    // Neither a frame nor system audio comes any more; errors are ignored.
    void removeStreamOutputs() const noexcept;

    // Ends a recording that failed: the stream's outputs go first, then the microphone, then the writer,
    // then the input events. Finished segments stay on the disk, with the input events that belong to
    // them; directories that hold nothing go.
    void abandon() noexcept;
};

} // namespace glimto
