#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "Backends/MP4/FragmentMuxer.h"
#include "Platform/AssetWriter.h"
#include "Support/Guarded.h"
#include "Support/SerialQueue.h"

namespace glimto {

// The life of an asset writer: its status, the queue that its encoding runs on, and the handing out of what
// the muxer has made. The operations of an AssetWriter with a like name do what is promised there.
//
// The encoding is done in steps, one after another. The first one that throws ends the writing with its text
// as the error: what follows is passed over, as it is once the writing was cancelled.
class EncodingTask {
public:
    // Only steps use the muxer. It and the delegate outlive the task, and so does all else that steps use:
    // an owner declares its task last.
    EncodingTask(std::string queueLabel, FragmentMuxer& muxer, AssetWriterDelegate& delegate);

    // Cancels and waits for the step that runs.
    ~EncodingTask() { cancel(); }
    EncodingTask(const EncodingTask&) = delete;
    EncodingTask& operator=(const EncodingTask&) = delete;

    // The first step delivers the initialization segment. False when the task was started or cancelled
    // before.
    bool start();

    // Runs `step` later on the queue. What comes `afterwards` runs even if the step was passed over, and must
    // not throw.
    void post(std::function<void()> step, std::function<void()> afterwards = {});

    // Runs `lastStep` once all other steps are done, and returns when it is done as well.
    AssetWriterStatus finish(const std::function<void()>& lastStep);

    void cancel();
    AssetWriterStatus status() const
    {
        return state_.with([](const State& state) { return state.status; });
    }
    bool isWriting() const { return status() == AssetWriterStatus::writing; }
    std::string error() const
    {
        return state_.with([](const State& state) { return state.error; });
    }

    // A long step asks this every now and then.
    bool isCancelled() const { return isCancelled_; }

    // In steps: ends the muxer's fragment and delivers it, and with it the segment.
    void deliverFragment();
    void deliverSegment(const SegmentReport& report);

private:
    struct State {
        AssetWriterStatus status = AssetWriterStatus::unknown;
        std::string error;
    };

    void run(const std::function<void()>& step);

    FragmentMuxer& muxer_;
    AssetWriterDelegate& delegate_;
    Guarded<State> state_;
    std::atomic<bool> isCancelled_ = false;
    SerialQueue queue_; // last: its thread ends before anything that it uses goes
};

} // namespace glimto
