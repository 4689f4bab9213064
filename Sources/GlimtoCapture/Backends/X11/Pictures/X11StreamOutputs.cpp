#include "Backends/X11/Pictures/X11StreamOutputs.h"

#include <utility>

namespace glimto {

void X11StreamOutputs::set(CaptureStream::Handlers handlers)
{
    gate_.sync([&] { handlers_ = std::move(handlers); });
}

void X11StreamOutputs::deliver(const VideoFrame& frame)
{
    gate_.sync([&] {
        if (!isClosed_ && handlers_.onFrame)
            handlers_.onFrame(frame);
    });
}

void X11StreamOutputs::fail(std::exception_ptr cause)
{
    gate_.sync([&] {
        if (!std::exchange(isClosed_, true) && handlers_.onStopped)
            handlers_.onStopped(std::move(cause));
    });
}

void X11StreamOutputs::close()
{
    gate_.sync([this] { isClosed_ = true; });
}

} // namespace glimto
