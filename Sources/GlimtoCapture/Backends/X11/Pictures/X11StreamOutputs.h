#pragma once

#include <mutex>

#include "Platform/CaptureStream.h"

namespace glimto {

// The handlers of a stream behind a gate that any thread can close, also a handler itself.
class X11StreamOutputs {
public:
    void set(CaptureStream::Handlers handlers);

    void deliver(const VideoFrame& frame);

    // Closes the gate as well.
    void fail(std::exception_ptr cause);

    // No handler runs once this returns.
    void close();

private:
    // Held while a handler runs, which the contract of close() needs; recursive so that a handler may
    // close the gate.
    std::recursive_mutex mutex_;
    CaptureStream::Handlers handlers_;
    bool isClosed_ = false;
};

} // namespace glimto
