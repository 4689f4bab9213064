#include "Support/SerialQueue.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>

#include "Support/NamedThread.h"

namespace glimto {

namespace {

std::atomic<bool> someQueueWasAbandoned = false;

} // namespace

struct SerialQueue::Core {
    std::string label;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    bool closing = false;
    bool abandoned = false;
    bool running = false;
    std::thread thread;
    std::thread::id threadId;

    // False when the queue was abandoned.
    bool accept(std::function<void()> task)
    {
        {
            const std::lock_guard lock(mutex);
            if (abandoned)
                return false;
            tasks.push_back(std::move(task));
        }
        changed.notify_one();
        return true;
    }

    void run()
    {
        nameThisThread(label);
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [this] { return closing || abandoned || !tasks.empty(); });
            if (abandoned || tasks.empty())
                return;
            auto task = std::move(tasks.front());
            tasks.pop_front();
            running = true;
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
            running = false;
        }
    }
};

SerialQueue::SerialQueue(std::string label)
    : core_(std::make_shared<Core>())
{
    core_->label = std::move(label);
    core_->thread = std::thread([core = core_] { core->run(); });
    core_->threadId = core_->thread.get_id();
}

SerialQueue::~SerialQueue()
{
    {
        const std::lock_guard lock(core_->mutex);
        core_->closing = true;
    }
    core_->changed.notify_all();
    if (core_->thread.joinable())
        core_->thread.join();
}

const std::string& SerialQueue::label() const
{
    return core_->label;
}

void SerialQueue::post(std::function<void()> task)
{
    core_->accept(std::move(task));
}

void SerialQueue::sync(const std::function<void()>& task)
{
    if (isCurrent()) {
        task();
        return;
    }
    std::mutex mutex;
    std::condition_variable done;
    bool isDone = false;
    std::exception_ptr failure;
    const bool isAccepted = core_->accept([&] {
        try {
            task();
        } catch (...) {
            failure = std::current_exception();
        }
        // Notified under the lock: the waiter's stack is gone as soon as it may leave.
        const std::lock_guard lock(mutex);
        isDone = true;
        done.notify_one();
    });
    if (!isAccepted)
        throw std::logic_error("The queue " + core_->label + " was abandoned.");
    std::unique_lock lock(mutex);
    done.wait(lock, [&] { return isDone; });
    if (failure)
        std::rethrow_exception(failure);
}

bool SerialQueue::isCurrent() const
{
    return std::this_thread::get_id() == core_->threadId;
}

void SerialQueue::abandon()
{
    std::deque<std::function<void()>> dropped; // destroyed after the lock: what they own may call back
    const std::lock_guard lock(core_->mutex);
    if (core_->abandoned)
        return;
    core_->abandoned = true;
    dropped.swap(core_->tasks);
    if (core_->running)
        someQueueWasAbandoned = true;
    if (core_->thread.joinable())
        core_->thread.detach();
    core_->changed.notify_all();
}

bool SerialQueue::abandonedAny()
{
    return someQueueWasAbandoned;
}

} // namespace glimto
