#include "Support/SerialQueue.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <stdexcept>
#include <thread>

#include "Support/ProcessWide.h"
#include "Support/NamedThread.h"

namespace glimto {

// Everybody takes a number. Numbers are served one at a time and in order: a posted task by the thread, the
// others by whoever drew them.
struct SerialQueue::Core {
    struct Task {
        std::uint64_t number = 0;
        std::function<void()> function;
    };

    struct State {
        std::uint64_t nextNumber = 0;
        std::uint64_t served = 0;
        std::deque<Task> tasks;
        std::optional<std::thread::id> owner; // whose turn it is; nobody's when idle
        bool isClosing = false;
        bool isAbandoned = false;

        bool isTurnOf(std::uint64_t number) const { return !owner && served == number; }
        void begin() { owner = std::this_thread::get_id(); }
        void end()
        {
            owner.reset();
            ++served;
        }
    };

    std::string label;
    Guarded<State, LockLevel::leaf> state;
    std::unique_ptr<NamedThread> thread;

    void run()
    {
        while (true) {
            std::function<void()> task;
            // Ended by the destructor or by abandon().
            state.waitUntil(
                [](const State& now) {
                    if (now.isAbandoned || (now.isClosing && now.tasks.empty()))
                        return true;
                    return !now.tasks.empty() && now.isTurnOf(now.tasks.front().number);
                },
                [&](State& now) {
                    if (now.isAbandoned || now.tasks.empty())
                        return;
                    task = std::move(now.tasks.front().function);
                    now.tasks.pop_front();
                    now.begin();
                });
            if (!task)
                return;
            task();
            task = nullptr; // what it owns may call back
            state.change([](State& now) { now.end(); });
        }
    }

    // False when the caller's turn it is already.
    bool beginTurn()
    {
        const auto number = state.with([](State& now) -> std::optional<std::uint64_t> {
            if (now.owner == std::this_thread::get_id())
                return std::nullopt;
            return now.nextNumber++;
        });
        if (!number)
            return false;
        // Ended by the turn before this one, or by abandon().
        const bool isAbandoned
            = state.waitUntil([&](const State& now) { return now.isAbandoned || now.isTurnOf(*number); },
                [](State& now) {
                    if (!now.isAbandoned)
                        now.begin();
                    return now.isAbandoned;
                });
        if (isAbandoned)
            throw std::logic_error("The queue " + label + " was abandoned.");
        return true;
    }
};

SerialQueue::SerialQueue(std::string label, Thread thread)
    : core_(std::make_shared<Core>())
{
    core_->label = std::move(label);
    if (thread == Thread::own)
        core_->thread = std::make_unique<NamedThread>(core_->label, [core = core_] { core->run(); });
}

SerialQueue::~SerialQueue()
{
    core_->state.change([](Core::State& state) { state.isClosing = true; });
    core_->thread.reset();
}

const std::string& SerialQueue::label() const
{
    return core_->label;
}

void SerialQueue::post(std::function<void()> task)
{
    if (!core_->thread)
        throw std::logic_error("The queue " + core_->label + " has no thread.");
    core_->state.change([&](Core::State& state) {
        if (!state.isAbandoned)
            state.tasks.push_back({state.nextNumber++, std::move(task)});
    });
}

bool SerialQueue::isCurrent() const
{
    return core_->state.with(
        [](const Core::State& state) { return state.owner == std::this_thread::get_id(); });
}

void SerialQueue::abandon()
{
    std::deque<Core::Task> dropped; // destroyed after the lock: what they own may call back
    const bool isAtWork = core_->state.change([&](Core::State& state) {
        const bool wasAbandoned = std::exchange(state.isAbandoned, true);
        dropped.swap(state.tasks);
        return !wasAbandoned && state.owner.has_value();
    });
    if (isAtWork && core_->thread)
        core_->thread->abandon();
}

SerialQueue::Turn::Turn(std::shared_ptr<Core> core)
    : core_(std::move(core))
    , isNested_(!core_->beginTurn())
{
}

SerialQueue::Turn::~Turn()
{
    if (!isNested_)
        core_->state.change([](Core::State& state) { state.end(); });
}

} // namespace glimto
