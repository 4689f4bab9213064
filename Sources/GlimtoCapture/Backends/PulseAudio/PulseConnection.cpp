#include "Backends/PulseAudio/PulseConnection.h"

#include "Platform/ErrorDomains.h"

#include <algorithm>
#include <limits>

#include <pulse/context.h>
#include <pulse/error.h>
#include <pulse/operation.h>
#include <pulse/stream.h>
#include <pulse/subscribe.h>

namespace glimto {

namespace {

PlatformError noServer(int code)
{
    return {"PulseAudio", code,
        "No sound server answers (" + std::string(pa_strerror(code))
            + "). Start PulseAudio, or PipeWire with pipewire-pulse, or let PULSE_SERVER name the one to "
              "use."};
}

} // namespace

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

PulseMainloop::PulseMainloop()
    : loop_(pa_mainloop_new())
{
    if (!loop_)
        throw PlatformError(
            errorDomain::pulseAudio, PA_ERR_INTERNAL, "The sound library could not be prepared.");
}

void PulseMainloop::iterate(HostTime deadline)
{
    if (mustEnd_)
        return;
    // Rounded up, or the last microsecond would be spent in a circle.
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - HostClock::now()).count();
    const auto microseconds = std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max());
    if (pa_mainloop_prepare(loop_.get(), static_cast<int>(microseconds)) < 0)
        return end();
    if (pa_mainloop_poll(loop_.get()) < 0 || pa_mainloop_dispatch(loop_.get()) < 0)
        end();
}

bool PulseMainloop::wait(const std::function<bool()>& condition, HostTime deadline)
{
    while (!condition()) {
        if (mustEnd_ || HostClock::now() >= deadline)
            return false;
        iterate(deadline);
    }
    return true;
}

void PulseMainloop::end()
{
    mustEnd_ = true;
    pa_mainloop_wakeup(loop_.get());
}

PulseConnection::PulseConnection(PulseMainloop& loop)
    : loop_(loop)
{
    const PulsePropertiesHandle properties(pa_proplist_new());
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_NAME, "Glimto Capture");
    pa_proplist_sets(properties.get(), PA_PROP_APPLICATION_ID, "com.glimto.capture");
    context_.reset(
        pa_context_new_with_proplist(pa_mainloop_get_api(loop.get()), "Glimto Capture", properties.get()));
    if (!context_)
        throw PlatformError(
            errorDomain::pulseAudio, PA_ERR_INTERNAL, "The sound library could not be prepared.");
    if (pa_context_connect(context_.get(), nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        throw noServer(pa_context_errno(context_.get()));
    waitUntilReady();
}

void PulseConnection::waitUntilReady()
{
    const auto isDecided = [this] {
        const auto state = pa_context_get_state(context_.get());
        return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
    };
    if (!loop_.wait(isDecided, HostClock::now() + answerTimeout))
        throw noServer(PA_ERR_TIMEOUT);
    if (!isAlive())
        throw noServer(pa_context_errno(context_.get()));
}

bool PulseConnection::isAlive() const
{
    return PA_CONTEXT_IS_GOOD(pa_context_get_state(context_.get()));
}

void PulseConnection::finish(pa_operation* operation, const std::string& what)
{
    if (!operation)
        throw error(what);
    const PulseOperationHandle handle(operation);
    const auto isOver = [&] { return pa_operation_get_state(operation) != PA_OPERATION_RUNNING; };
    if (!loop_.wait(isOver, HostClock::now() + answerTimeout))
        throw PlatformError(
            errorDomain::pulseAudio, PA_ERR_TIMEOUT, what + ": " + pa_strerror(PA_ERR_TIMEOUT));
    if (pa_operation_get_state(operation) == PA_OPERATION_CANCELLED)
        throw error(what);
}

PlatformError PulseConnection::error(const std::string& what) const
{
    const int code = pa_context_errno(context_.get());
    return {"PulseAudio", code, what + ": " + pa_strerror(code)};
}

} // namespace glimto
