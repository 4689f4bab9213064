#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace glimto {

// Wishes from outside to end a recording or an upload well: a termination signal, or the end of the parent
// that reads our output.
class StopRequests {
public:
    virtual ~StopRequests() = default;

    // From here on signals are noted instead of ending the process.
    virtual void beginListening() = 0;

    // The request that pends has been followed: from here on only a later signal counts. An end of the
    // parent is for good.
    virtual void acknowledge() = 0;

    // Ends the process by the signal that is the pending request, so that who started us sees it. Returns
    // when there is none.
    virtual void passOn() = 0;

    // The line that tells of the first wish, such as "Interrupt received; finishing recording"; absent
    // while there is none. Cheap: called at every round of the wait loop.
    virtual std::optional<std::string> pendingRequest() = 0;

    // wait() may end early when this file appears.
    virtual void watch(const std::filesystem::path& file) = 0;

    // Returns as soon as there may be a request, or another reason to look, and after `longest` at the
    // latest.
    virtual void wait(std::chrono::nanoseconds longest) = 0;
};

} // namespace glimto
