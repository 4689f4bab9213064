#include "Platform/StreamOutputs.h"

#include <utility>

namespace glimto {

void StreamOutputs::set(CaptureStream::Handlers handlers)
{
    gate_.sync([&] { handlers_ = std::move(handlers); });
}

void StreamOutputs::deliver(const VideoFrame& frame)
{
    gate_.sync([&] {
        if (!isClosed_ && handlers_.onFrame)
            handlers_.onFrame(frame);
    });
}

void StreamOutputs::fail(std::exception_ptr cause)
{
    gate_.sync([&] {
        if (!std::exchange(isClosed_, true) && handlers_.onStopped)
            handlers_.onStopped(std::move(cause));
    });
}

void StreamOutputs::close()
{
    gate_.sync([this] { isClosed_ = true; });
}

} // namespace glimto
