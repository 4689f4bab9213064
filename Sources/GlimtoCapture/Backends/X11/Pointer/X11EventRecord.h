#pragma once

#include <memory>
#include <vector>

#include <xcb/record.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Pointer/X11PlacedEvents.h"

namespace glimto {

// The pointer's events in a part of a record, as a server has answered with it, of the screen with this root.
std::vector<X11RecordedEvent> x11RecordedEvents(
    const xcb_record_enable_context_reply_t& part, xcb_window_t root);

// What the pointers do, recorded by the server itself (X RECORD extension): every press, release and move
// with the place where it happened, whoever gets the event or holds a grab; also the moves of a pointer
// that a program sets down elsewhere, of which raw events do not tell.
//
// On a connection of its own, because the server hears nothing more on one that records. What is recorded
// lies at the server until it has something to send to any client; an answer to another connection's
// request shows that all of it was sent that the server had when it sent an event to that connection
// before.
//
// Used by one thread; ends with its connection.
class X11EventRecord {
public:
    // Throws PlatformError when the server has no such extension, refuses it, does not answer or goes away.
    static std::unique_ptr<X11EventRecord> start();

    // Readable when there is something to take.
    int fileDescriptor() const { return connection_->fileDescriptor(); }

    // What was recorded since the last call. Throws PlatformError when the server has ended the record.
    std::vector<X11RecordedEvent> take();

private:
    X11EventRecord(std::unique_ptr<X11Connection> connection, unsigned sequence);
    void takeParts(std::vector<X11RecordedEvent>& events);

    std::unique_ptr<X11Connection> connection_;
    unsigned sequence_; // of the request that the record is the answer to
};

} // namespace glimto
