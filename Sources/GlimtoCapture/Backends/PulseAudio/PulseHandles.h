#pragma once

#include <memory>

struct pa_context;
struct pa_mainloop;
struct pa_operation;
struct pa_proplist;
struct pa_stream;

namespace glimto {

struct PulseDeleter {
    void operator()(pa_mainloop* loop) const noexcept;
    // These are taken off their callbacks and from the server.
    void operator()(pa_context* context) const noexcept;
    void operator()(pa_stream* stream) const noexcept;
    // An operation that still runs is cancelled: its callback does not come any more.
    void operator()(pa_operation* operation) const noexcept;
    void operator()(pa_proplist* properties) const noexcept;
};

using PulseMainloopHandle = std::unique_ptr<pa_mainloop, PulseDeleter>;
using PulseContextHandle = std::unique_ptr<pa_context, PulseDeleter>;
using PulseStreamHandle = std::unique_ptr<pa_stream, PulseDeleter>;
using PulseOperationHandle = std::unique_ptr<pa_operation, PulseDeleter>;
using PulsePropertiesHandle = std::unique_ptr<pa_proplist, PulseDeleter>;

} // namespace glimto
