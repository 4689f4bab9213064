#include "InputEvents/InputEventRecorder.h"

#include <exception>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Support/AtomicFile.h"
#include "Support/Text.h"

namespace glimto {

InputEventRecorder::InputEventRecorder(std::filesystem::path outputURL, const CaptureGeometry& geometry,
    std::chrono::nanoseconds flushInterval, EventTapFactory& factory, LineOutput& standardError,
    const Limits& limits)
    : outputURL_(std::move(outputURL))
    , standardError_(standardError)
    , limits_(limits)
    , track_(std::make_shared<InputEventTrack>(geometry))
    , partialFile_(std::make_shared<PartialEventsFile>(PartialEventsFile::pathFor(outputURL_)))
    , tapThread_(
          factory, standardError, flushInterval,
          [track = track_](const InputEvent& event) { track->append(event); },
          [track = track_, file = partialFile_] { file->append(*track); })
{
}

InputEventRecorder::~InputEventRecorder()
{
    tapThread_.stop(limits_.stop);
    if (!stopped_)
        partialFile_->remove();
}

void InputEventRecorder::start()
{
    tapThread_.start(limits_.start);
}

void InputEventRecorder::setClockAnchor(MediaTime firstVideoSample)
{
    track_->setClockAnchor({.firstVideoSamplePtsValue = firstVideoSample.value,
        .firstVideoSamplePtsTimescale = firstVideoSample.timescale,
        .firstVideoSampleHostTimeNs = firstVideoSample.nanoseconds()});
}

void InputEventRecorder::stop(CursorInVideo cursor)
{
    if (stopped_.exchange(true))
        return;
    // The tap hands on what it still holds before it ends.
    tapThread_.stop(limits_.stop);
    try {
        write(cursor);
        partialFile_->remove();
    } catch (const std::exception& error) {
        standardError_.writeLine(
            singleLine(std::string("warning: failed to write events.json: ") + error.what()));
    }
}

void InputEventRecorder::write(CursorInVideo cursor)
{
    const EventsDocument document = track_->finish(cursor);
    AtomicFile file(outputURL_);
    const std::function<void(std::string_view)> writePiece
        = [&](std::string_view piece) { file.write(std::as_bytes(std::span(piece.data(), piece.size()))); };
    encodeEventsDocument(document, writePiece, [&] { return partialFile_->readEvents(writePiece); });
    file.commit();
    if (const std::size_t count = track_->droppedCount(); count > 0)
        standardError_.writeLine("warning: events.json lacks " + std::to_string(count)
            + " pointer events, for which there was no room.");
}

} // namespace glimto
