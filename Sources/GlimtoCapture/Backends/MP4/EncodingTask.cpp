#include "Backends/MP4/EncodingTask.h"

#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

namespace glimto {

EncodingTask::EncodingTask(std::string queueLabel, FragmentMuxer& muxer, AssetWriterDelegate& delegate)
    : muxer_(muxer)
    , delegate_(delegate)
    , queue_(std::move(queueLabel))
{
}

bool EncodingTask::start()
{
    const bool starts = state_.with([](State& state) {
        if (state.status != AssetWriterStatus::unknown)
            return false;
        state.status = AssetWriterStatus::writing;
        return true;
    });
    if (starts)
        post([this] { delegate_.didOutputInitializationSegment(muxer_.takeOutput()); });
    return starts;
}

void EncodingTask::post(std::function<void()> step, std::function<void()> afterwards)
{
    queue_.post([this, step = std::move(step), afterwards = std::move(afterwards)] {
        run(step);
        if (afterwards)
            afterwards();
    });
}

AssetWriterStatus EncodingTask::finish(const std::function<void()>& lastStep)
{
    queue_.sync([&] { run(lastStep); });
    return state_.with([](State& state) {
        if (state.status == AssetWriterStatus::writing)
            state.status = AssetWriterStatus::completed;
        return state.status;
    });
}

void EncodingTask::cancel()
{
    isCancelled_ = true;
    state_.with([](State& state) {
        if (state.status == AssetWriterStatus::unknown || state.status == AssetWriterStatus::writing)
            state.status = AssetWriterStatus::cancelled;
    });
}

void EncodingTask::deliverFragment()
{
    muxer_.endFragment();
    const std::vector<std::byte> output = muxer_.takeOutput();
    if (!output.empty() && !isCancelled_)
        delegate_.didOutputSegmentData(output);
}

void EncodingTask::deliverSegment(const SegmentReport& report)
{
    deliverFragment();
    if (!isCancelled_)
        delegate_.didFinishSegment(report);
}

void EncodingTask::run(const std::function<void()>& step)
{
    if (isCancelled_ || !isWriting())
        return;
    std::string text;
    try {
        step();
        return;
    } catch (const std::exception& exception) {
        text = exception.what();
    } catch (...) {
        text = "unknown error";
    }
    state_.with([&](State& state) {
        if (state.status != AssetWriterStatus::writing)
            return;
        state.status = AssetWriterStatus::failed;
        state.error = text;
    });
}

} // namespace glimto
