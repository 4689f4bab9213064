#pragma once

#include "Platform/CaptureStream.h"
#include "Support/SerialQueue.h"

namespace glimto {

// The handlers of a stream behind a gate that any thread can close, also a handler itself.
class StreamOutputs {
public:
    void set(CaptureStream::Handlers handlers);

    void deliver(const VideoFrame& frame);

    // Closes the gate as well.
    void fail(std::exception_ptr cause);

    // No handler runs once this returns.
    void close();

private:
    // A handler runs as a task of the queue, which close() has to wait for; unless it is a handler itself.
    SerialQueue gate_{"glimto.capture.samples", SerialQueue::Thread::none};
    CaptureStream::Handlers handlers_;
    bool isClosed_ = false;
};

} // namespace glimto
