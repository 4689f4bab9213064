#pragma once

#include <optional>

#include "Support/HostClock.h"

namespace glimto {

// Decides when the server is asked where the pointer is.
//
// The answer shows that all that was recorded before has come, which settles events. That is not urgent, so
// they wait for 40 ms and share a question; but they are read every 4 ms, because the server keeps few of
// them. Without events the server is asked four times a second, for a pointer that moved without a record.
class X11PointerPacer {
public:
    struct Step {
        bool mustAsk = false;
        HostTime until = {}; // else: when to look again, at the latest
        bool wakesOnEvents = true; // and whether events may be left to gather meanwhile
    };

    // `hasEvents`: some wait to be settled. Not to be used while an answer is awaited.
    Step next(HostTime now, bool hasEvents) const;

    void didAsk(HostTime now) { lastAsk_ = now; }

private:
    std::optional<HostTime> lastAsk_;
};

} // namespace glimto
