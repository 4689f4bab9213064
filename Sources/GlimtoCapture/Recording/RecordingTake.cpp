#include "Recording/RecordingTake.h"

namespace glimto {

namespace {

// The error that ends the recording is the one to tell; what goes wrong while cleaning up is not.
template <typename Function> void ignoringErrors(Function&& function) noexcept
{
    try {
        function();
    } catch (...) {
        return;
    }
}

} // namespace

void RecordingTake::anchorInputEvents() const
{
    if (!eventRecorder)
        return;
    if (const auto anchor = writer->firstVideoSamplePtsAnchor())
        eventRecorder->setClockAnchor(*anchor);
}

void RecordingTake::stopInputEvents() const
{
    anchorInputEvents();
    eventRecorder->stop(cursor);
}

void RecordingTake::removeStreamOutputs() const noexcept
{
    if (stream)
        ignoringErrors([this] { stream->removeOutputs(); });
    if (systemAudio)
        ignoringErrors([this] { systemAudio->stop(); });
}

void RecordingTake::abandon() noexcept
{
    removeStreamOutputs();
    if (microphone)
        ignoringErrors([this] { microphone->stop(); });
    if (writer)
        ignoringErrors([this] { writer->cancel(); });
    ignoringErrors([this] {
        // Without a frame there is nothing that the events could belong to.
        if (eventRecorder && writer && writer->firstVideoSamplePtsAnchor())
            stopInputEvents();
        eventRecorder.reset();
    });
    if (directories)
        directories->removeEmpty();
}

} // namespace glimto
