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
    struct Pace {
        std::int64_t gathering = 8'000'000; // how long events wait for company
        std::int64_t reading = 8'000'000; // how long they may lie unread
        std::int64_t active = 33'000'000; // how long nothing is asked without events
        std::int64_t resting = 100'000'000; // the same, after two seconds without any
        double mostCredits = 8; // how many questions may be asked at once
    };

    // Where answers only say that what was recorded has come, they are not urgent, and a pointer that is
    // set down elsewhere is recorded as well.
    static constexpr Pace whenRecorded = {.gathering = 40'000'000,
        .reading = 4'000'000,
        .active = 250'000'000,
        .resting = 250'000'000,
        .mostCredits = 0};

    X11PointerPacer()
        : X11PointerPacer(Pace())
    {
    }

    explicit X11PointerPacer(const Pace& pace)
        : pace_(pace)
        , credits_(pace.mostCredits)
    {
    }

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

    Pace pace_;
    bool hasAsked_ = false;
    std::int64_t lastAsk_ = 0;
    std::int64_t lastActivity_ = 0;
    double credits_;
};

} // namespace glimto
