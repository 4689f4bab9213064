#include "Recording/RecordingTake.h"

namespace glimto {

namespace {

// The error that ends the recording is the one to tell; what goes wrong while cleaning up is not.
template <typename Function> void ignoringErrors(Function&& function) noexcept
{
    try {
        function();
    } catch (...) {
        return;
    }
}

} // namespace

void RecordingTake::abandon() noexcept
{
    if (stream)
        ignoringErrors([this] { stream->removeOutputs(); });
    if (writer)
        ignoringErrors([this] { writer->cancel(); });
    if (directories)
        directories->removeEmpty();
}

} // namespace glimto
