#include "Backends/X11/Pointer/X11EventTap.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Backends/Streams/WakeUp.h"
#include "Backends/X11/Pointer/X11PointerListener.h"
#include "Backends/X11/Pointer/X11PointerPacer.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// A timer of one second is to find an attempt permitted every time.
constexpr std::chrono::milliseconds attemptInterval(950);
// How long the last events are waited for once the tap is to end.
constexpr std::chrono::milliseconds endTimeout(100);
constexpr HostTime never = HostTime::max();
constexpr std::uint64_t maskBits = 64;

class X11EventTap final : public EventTap {
public:
    X11EventTap(std::unique_ptr<X11PointerListener> listener, std::uint64_t eventMask)
        : listener_(std::move(listener))
        , eventMask_(eventMask)
    {
    }

    void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) override
    {
        auto timerDue = HostClock::now() + timerPeriod;
        while (!wakeUp_.hasEnded()) {
            const auto now = HostClock::now();
            if (now >= timerDue) {
                timerDue = std::max(timerDue + timerPeriod, now);
                handlers.onTimer();
            }
            const auto wait = listenFor(now);
            deliver(handlers);
            if (wait)
                waitUntil(std::min(wait->until, timerDue), wait->wakesOnEvents);
        }
        finish();
        deliver(handlers);
    }

    void stop() override { wakeUp_.end(); }
    bool isEnabled() const override { return isEnabled_; }

    void enable() override
    {
        const auto now = HostClock::now();
        if (isEnabled_ || now < nextAttempt_)
            return;
        nextAttempt_ = now + attemptInterval;
        try {
            if (!listener_)
                listener_ = X11PointerListener::open();
            listener_->listen();
            pacer_ = {};
            isEnabled_ = true;
        } catch (const std::exception&) {
            listener_.reset();
        }
    }

private:
    struct Wait {
        HostTime until;
        bool wakesOnEvents = true;
    };

    std::optional<Wait> listenFor(HostTime now)
    {
        if (!isEnabled_)
            return Wait{never, false};
        try {
            listener_->receive();
            if (listener_->isAsking())
                return Wait{never, true};
            const auto next = pacer_.next(now, listener_->isWaiting());
            if (!next.mustAsk)
                return Wait{next.until, next.wakesOnEvents};
            listener_->ask();
            pacer_.didAsk(now);
        } catch (const std::exception&) {
            disable();
        }
        return std::nullopt;
    }

    void disable()
    {
        listener_->settleUnanswered();
        settled_ = listener_->take();
        listener_.reset();
        isEnabled_ = false;
    }

    // What happened before the end is told, even if the server takes too long to say where.
    void finish()
    {
        if (!isEnabled_)
            return;
        try {
            const auto deadline = HostClock::now() + endTimeout;
            // The answer to the second question follows all that was recorded before the first one.
            for (int question = 0; question < 2; ++question) {
                listener_->receive();
                if (!listener_->isAsking())
                    listener_->ask();
                listener_->receive();
                while (listener_->isAsking() && HostClock::now() < deadline) {
                    waitForServer(deadline);
                    listener_->receive();
                }
            }
            listener_->settleUnanswered();
        } catch (const std::exception&) {
            disable();
        }
    }

    void deliver(const Handlers& handlers)
    {
        if (listener_)
            settled_ = listener_->take();
        for (const auto& event : std::exchange(settled_, {})) {
            const auto bit = static_cast<std::uint64_t>(event.type);
            if (bit < maskBits && ((eventMask_ >> bit) & 1U) != 0)
                handlers.onEvent(event);
        }
    }

    void waitUntil(HostTime deadline, bool forServer)
    {
        std::array<pollfd, 3> entries = {{
            {.fd = wakeUp_.fileDescriptor(), .events = POLLIN, .revents = 0},
            {.fd = forServer ? listener_->fileDescriptor() : -1, .events = POLLIN, .revents = 0},
            {.fd = forServer ? listener_->recordFileDescriptor() : -1, .events = POLLIN, .revents = 0},
        }};
        // Whatever ends the wait, the caller looks what there is to do.
        (void)waitFor(entries, deadline);
    }

    // The tap's own wake-up has been seen by then.
    void waitForServer(HostTime deadline)
    {
        pollfd entry = {.fd = listener_->fileDescriptor(), .events = POLLIN, .revents = 0};
        (void)waitFor({&entry, 1}, deadline);
    }

    std::unique_ptr<X11PointerListener> listener_; // null once its server has gone
    X11PointerPacer pacer_;
    std::uint64_t eventMask_;
    WakeUp wakeUp_; // ends run()
    bool isEnabled_ = false;
    HostTime nextAttempt_;
    std::vector<InputEvent> settled_;
};

} // namespace

std::unique_ptr<EventTap> X11EventTapFactory::makeListenOnlyTap(std::uint64_t eventMask)
{
    try {
        return std::make_unique<X11EventTap>(X11PointerListener::open(), eventMask);
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace glimto
