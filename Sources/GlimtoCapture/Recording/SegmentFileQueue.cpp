#include "Recording/SegmentFileQueue.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace glimto {

struct SegmentFileQueue::Load {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t waitingBytes = 0;
    std::size_t waitingTasks = 0;
    bool isClosed = false;
    bool isAbandoned = false;

    void remove(std::size_t bytes)
    {
        const std::lock_guard lock(mutex);
        waitingBytes -= bytes;
        --waitingTasks;
        changed.notify_all();
    }
};

SegmentFileQueue::SegmentFileQueue(std::size_t limitBytes)
    : limitBytes_(limitBytes)
    , load_(std::make_shared<Load>())
    , queue_("glimto.capture.segment-files")
{
}

SegmentFileQueue::~SegmentFileQueue()
{
    finish([] {});
}

void SegmentFileQueue::post(std::size_t bytes, std::function<void()> task)
{
    {
        std::unique_lock lock(load_->mutex);
        // A piece larger than the limit still passes, alone.
        load_->changed.wait(lock, [&] {
            return load_->isClosed || load_->waitingBytes == 0 || load_->waitingBytes + bytes <= limitBytes_;
        });
        if (load_->isClosed)
            return;
        load_->waitingBytes += bytes;
        ++load_->waitingTasks;
    }
    run(bytes, std::move(task));
}

void SegmentFileQueue::run(std::size_t bytes, std::function<void()> task)
{
    queue_.post([load = load_, bytes, task = std::move(task)]() mutable {
        task();
        task = nullptr;
        load->remove(bytes);
    });
}

void SegmentFileQueue::drain()
{
    std::unique_lock lock(load_->mutex);
    load_->changed.wait(lock, [&] { return load_->isAbandoned || load_->waitingTasks == 0; });
}

void SegmentFileQueue::close()
{
    const std::lock_guard lock(load_->mutex);
    load_->isClosed = true;
    load_->changed.notify_all();
}

void SegmentFileQueue::finish(std::function<void()> lastTask, std::chrono::milliseconds limit)
{
    {
        const std::lock_guard lock(load_->mutex);
        load_->isClosed = true;
        if (load_->isAbandoned)
            return;
        ++load_->waitingTasks;
        load_->changed.notify_all();
    }
    run(0, std::move(lastTask));
    std::unique_lock lock(load_->mutex);
    while (load_->waitingTasks > 0) {
        const std::size_t before = load_->waitingTasks;
        if (!load_->changed.wait_for(lock, limit, [&] { return load_->waitingTasks < before; }))
            break;
    }
    if (load_->waitingTasks == 0)
        return;
    load_->isAbandoned = true;
    load_->changed.notify_all();
    lock.unlock();
    queue_.abandon();
}

} // namespace glimto
