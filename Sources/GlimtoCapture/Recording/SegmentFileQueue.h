#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "Support/Guarded.h"
#include "Support/SerialQueue.h"

namespace glimto {

// Does the file work of a recording in order, away from the encoder's thread
// ("glimto.capture.segment-files").
//
// The data that waits here is bounded: when the disk falls behind by more, the encoder has to wait,
// its input fills up, and frames are dropped and counted instead of memory being eaten.
//
// A task must own everything that it touches, because a disk that hangs makes the queue let go of it.
class SegmentFileQueue {
public:
    static constexpr std::size_t defaultLimitBytes = std::size_t(64) << 20U;

    // How long a disk may take for one piece before it counts as hanging.
    static constexpr std::chrono::milliseconds hangingDiskLimit = std::chrono::seconds(10);

    explicit SegmentFileQueue(std::size_t limitBytes = defaultLimitBytes);

    // Finishes what was posted, but does not wait for a disk that hangs.
    ~SegmentFileQueue();

    // Runs `task`, which holds `bytes` of data, after all tasks before it. Waits for room first; what
    // bounds that wait is close(), which the session calls when a time limit passes. After close()
    // the task is dropped.
    void post(std::size_t bytes, std::function<void()> task);

    // Waits until everything posted so far has run, or until the queue is let go of.
    void drain();

    // Takes no more tasks and lets go of everybody who waits for room.
    void close();

    // Closes the queue, runs what was posted and then `lastTask`. When no task ends for as long as
    // `limit`, lets go of the thread and drops the rest. Any thread but the queue's own.
    void finish(std::function<void()> lastTask, std::chrono::milliseconds limit = hangingDiskLimit);

private:
    struct Load {
        std::size_t waitingBytes = 0;
        std::size_t waitingTasks = 0;
        bool isClosed = false;
        bool isAbandoned = false;

        void add(std::size_t bytes)
        {
            waitingBytes += bytes;
            ++waitingTasks;
        }
        void remove(std::size_t bytes)
        {
            waitingBytes -= bytes;
            --waitingTasks;
        }
    };

    void run(std::size_t bytes, std::function<void()> task);

    std::size_t limitBytes_;
    std::shared_ptr<Guarded<Load>> load_; // shared with the tasks
    SerialQueue queue_;
};

} // namespace glimto
