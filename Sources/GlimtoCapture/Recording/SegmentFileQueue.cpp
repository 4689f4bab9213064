#include "Recording/SegmentFileQueue.h"

#include <utility>

namespace glimto {

SegmentFileQueue::SegmentFileQueue(std::size_t limitBytes)
    : limitBytes_(limitBytes)
    , load_(std::make_shared<Guarded<Load>>())
    , queue_("glimto.capture.segment-files")
{
}

SegmentFileQueue::~SegmentFileQueue()
{
    finish([] {});
}

void SegmentFileQueue::post(std::size_t bytes, std::function<void()> task)
{
    // A piece larger than the limit still passes, alone. Ended by the tasks before, or by close().
    const bool isAccepted = load_->waitUntil(
        [&](const Load& load) {
            return load.isClosed || load.waitingBytes == 0 || load.waitingBytes + bytes <= limitBytes_;
        },
        [&](Load& load) {
            if (load.isClosed)
                return false;
            load.add(bytes);
            return true;
        });
    if (isAccepted)
        run(bytes, std::move(task));
}

void SegmentFileQueue::run(std::size_t bytes, std::function<void()> task)
{
    queue_.post([load = load_, bytes, task = std::move(task)]() mutable {
        task();
        task = nullptr;
        load->change([bytes](Load& now) { now.remove(bytes); });
    });
}

void SegmentFileQueue::drain()
{
    // Ended by the tasks, or by finish() after a time.
    load_->waitUntil(
        [](const Load& load) { return load.isAbandoned || load.waitingTasks == 0; }, [](Load&) {});
}

void SegmentFileQueue::close()
{
    load_->change([](Load& load) { load.isClosed = true; });
}

void SegmentFileQueue::finish(std::function<void()> lastTask, std::chrono::milliseconds limit)
{
    const bool isAbandoned = load_->change([](Load& load) {
        load.isClosed = true;
        if (!load.isAbandoned)
            load.add(0);
        return load.isAbandoned;
    });
    if (isAbandoned)
        return;
    run(0, std::move(lastTask));
    const auto waitingTasks
        = [this] { return load_->with([](const Load& load) { return load.waitingTasks; }); };
    for (std::size_t before = waitingTasks(); before > 0; before = waitingTasks()) {
        if (load_->waitFor(limit, [before](const Load& load) { return load.waitingTasks < before; }))
            continue;
        load_->change([](Load& load) { load.isAbandoned = true; });
        queue_.abandon();
        return;
    }
}

} // namespace glimto
