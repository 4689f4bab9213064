#pragma once

#include <cstdint>

namespace glimto {

// Decides when the server is asked where the pointer is. All times are nanoseconds of the host clock.
//
// Events are settled by an answer that follows them at once, so that it is the place of the event. A
// fast mouse would make that a question an event: once some have followed each other quickly, the next
// ones wait for 8 ms and share theirs. Without events the server is asked 30 times a second, or 10 times
// once nothing has happened for two seconds: a pointer that a program sets down elsewhere sends none.
class X11PointerPacer {
public:
    struct Step {
        bool mustAsk = false;
        std::int64_t until = 0; // else: when to look again, at the latest
        bool wakesOnEvents = true; // and whether events may be left to gather meanwhile
    };

    // `hasEvents`: some wait to be settled. Not to be used while an answer is awaited.
    Step next(std::int64_t now, bool hasEvents) const;

    void didAsk(std::int64_t now);

    // The pointer was used, or has moved.
    void didHappen(std::int64_t now) { lastActivity_ = now; }

private:
    double creditsAt(std::int64_t now) const;

    bool hasAsked_ = false;
    std::int64_t lastAsk_ = 0;
    std::int64_t lastActivity_ = 0;
    double credits_ = 8; // questions that may be asked at once
};

} // namespace glimto
