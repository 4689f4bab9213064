#pragma once

#include <optional>
#include <string>

namespace glimto {

// Wishes from outside to end a recording well: a termination signal, or the end of the parent that
// reads our output.
class StopRequests {
public:
    virtual ~StopRequests() = default;

    // From here on signals are noted instead of ending the process.
    virtual void beginListening() = 0;

    // From here on signals do what they did before beginListening(). What was noted stays noted. Does
    // nothing when nobody listens.
    virtual void endListening() = 0;

    // The line that tells of the first wish, such as "Interrupt received; finishing recording"; absent
    // while there is none. Cheap: called at every round of the wait loop.
    virtual std::optional<std::string> pendingRequest() = 0;
};

} // namespace glimto
