#include "Backends/PulseAudio/PulseHandles.h"

#include <pulse/context.h>
#include <pulse/mainloop.h>
#include <pulse/operation.h>
#include <pulse/proplist.h>
#include <pulse/stream.h>
#include <pulse/subscribe.h>

namespace glimto {

void PulseDeleter::operator()(pa_mainloop* loop) const noexcept
{
    pa_mainloop_free(loop);
}

void PulseDeleter::operator()(pa_context* context) const noexcept
{
    pa_context_set_state_callback(context, nullptr, nullptr);
    pa_context_set_subscribe_callback(context, nullptr, nullptr);
    pa_context_disconnect(context);
    pa_context_unref(context);
}

void PulseDeleter::operator()(pa_stream* stream) const noexcept
{
    pa_stream_set_state_callback(stream, nullptr, nullptr);
    pa_stream_set_read_callback(stream, nullptr, nullptr);
    pa_stream_set_moved_callback(stream, nullptr, nullptr);
    pa_stream_set_suspended_callback(stream, nullptr, nullptr);
    pa_stream_disconnect(stream);
    pa_stream_unref(stream);
}

void PulseDeleter::operator()(pa_operation* operation) const noexcept
{
    if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING)
        pa_operation_cancel(operation);
    pa_operation_unref(operation);
}

void PulseDeleter::operator()(pa_proplist* properties) const noexcept
{
    pa_proplist_free(properties);
}

} // namespace glimto
