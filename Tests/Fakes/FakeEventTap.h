#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Platform/EventTap.h"

namespace glimto {

// A tap whose events and timer come from the test, on the thread that runs the tap as with a real one. It
// outlives its tap object as a record.
class FakeEventTapState {
public:
    // How it behaves; to be set before the tap is made.
    bool isPermitted = true;
    bool canBeEnabled = true;
    std::function<void()> onMake; // runs when a tap is asked for; may hang or throw
    std::optional<InputEvent>
        eventAtTheEnd; // delivered when the tap is stopped; set while nothing is delivered

    void deliver(const InputEvent& event)
    {
        runOnTap([event](const EventTap::Handlers& handlers) { handlers.onEvent(event); });
    }

    void fireTimer()
    {
        runOnTap([](const EventTap::Handlers& handlers) { handlers.onTimer(); });
    }

    // As the system does it, without a word.
    void disable() { set(isEnabled_, false); }

    // What happened.
    std::optional<std::uint64_t> eventMask() const { return get(eventMask_); }
    std::optional<std::chrono::nanoseconds> timerPeriod() const { return get(timerPeriod_); }
    bool isEnabled() const { return get(isEnabled_); }
    int enables() const { return get(enables_); }
    int stops() const { return get(stops_); }
    int livingTaps() const { return get(livingTaps_); }

private:
    friend class FakeEventTap;
    friend class FakeEventTapFactory;
    using Work = std::function<void(const EventTap::Handlers& handlers)>;

    template <typename T> T get(const T& value) const
    {
        const std::lock_guard lock(mutex_);
        return value;
    }

    template <typename T> void set(T& variable, T value)
    {
        const std::lock_guard lock(mutex_);
        variable = value;
    }

    // Returns when the tap's thread has done it. What comes to a stopped tap is lost.
    void runOnTap(Work work)
    {
        std::unique_lock lock(mutex_);
        if (stops_ > 0)
            return;
        work_.push_back(std::move(work));
        changed_.notify_all();
        if (!changed_.wait_for(lock, std::chrono::seconds(10),
                [this] { return stops_ > 0 || (work_.empty() && !isWorking_); }))
            throw std::logic_error("nobody runs the tap");
    }

    void run(std::chrono::nanoseconds timerPeriod, const EventTap::Handlers& handlers)
    {
        std::unique_lock lock(mutex_);
        timerPeriod_ = timerPeriod;
        while (true) {
            changed_.wait(lock, [this] { return stops_ > 0 || !work_.empty(); });
            if (stops_ > 0)
                break;
            const Work work = std::move(work_.front());
            work_.pop_front();
            isWorking_ = true;
            lock.unlock();
            work(handlers);
            lock.lock();
            isWorking_ = false;
            changed_.notify_all();
        }
        lock.unlock();
        if (eventAtTheEnd)
            handlers.onEvent(*eventAtTheEnd);
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Work> work_;
    bool isWorking_ = false;
    std::optional<std::uint64_t> eventMask_;
    std::optional<std::chrono::nanoseconds> timerPeriod_;
    bool isEnabled_ = false;
    int enables_ = 0;
    int stops_ = 0;
    int livingTaps_ = 0;
};

class FakeEventTap final : public EventTap {
public:
    explicit FakeEventTap(std::shared_ptr<FakeEventTapState> state)
        : state_(std::move(state))
    {
        state_->set(state_->livingTaps_, 1);
    }
    ~FakeEventTap() override { state_->set(state_->livingTaps_, 0); }

    void run(std::chrono::nanoseconds timerPeriod, const Handlers& handlers) override
    {
        state_->run(timerPeriod, handlers);
    }

    void stop() override
    {
        const std::lock_guard lock(state_->mutex_);
        ++state_->stops_;
        state_->isEnabled_ = false;
        state_->changed_.notify_all();
    }

    bool isEnabled() const override { return state_->isEnabled(); }

    void enable() override
    {
        const std::lock_guard lock(state_->mutex_);
        ++state_->enables_;
        state_->isEnabled_ = state_->canBeEnabled;
    }

private:
    std::shared_ptr<FakeEventTapState> state_; // shared with the factory
};

class FakeEventTapFactory final : public EventTapFactory {
public:
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t eventMask) override
    {
        const auto made = tap; // a test that ends meanwhile takes the factory along
        made->set(made->eventMask_, std::optional(eventMask));
        if (made->onMake)
            made->onMake();
        return made->isPermitted ? std::make_unique<FakeEventTap>(made) : nullptr;
    }

    // Shared with the tap that is made.
    std::shared_ptr<FakeEventTapState> tap = std::make_shared<FakeEventTapState>();
};

} // namespace glimto
