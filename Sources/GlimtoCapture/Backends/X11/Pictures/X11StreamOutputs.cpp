#include "Backends/X11/Pictures/X11StreamOutputs.h"

#include <utility>

namespace glimto {

void X11StreamOutputs::set(CaptureStream::Handlers handlers)
{
    const std::lock_guard lock(mutex_);
    handlers_ = std::move(handlers);
}

void X11StreamOutputs::deliver(const VideoFrame& frame)
{
    const std::lock_guard lock(mutex_);
    if (!isClosed_ && handlers_.onFrame)
        handlers_.onFrame(frame);
}

void X11StreamOutputs::fail(std::exception_ptr cause)
{
    const std::lock_guard lock(mutex_);
    if (std::exchange(isClosed_, true))
        return;
    if (handlers_.onStopped)
        handlers_.onStopped(std::move(cause));
}

void X11StreamOutputs::close()
{
    const std::lock_guard lock(mutex_);
    isClosed_ = true;
}

} // namespace glimto
