#include "Backends/Streams/ThreadedCaptureStream.h"

#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeFramePicture.h"
#include "Support/Guarded.h"

namespace glimto {
namespace {

// Delivers one frame for each of the times, and then stands still.
class ScriptedStream final : public ThreadedCaptureStream {
public:
    explicit ScriptedStream(std::vector<std::int64_t> times)
        : times_(std::move(times))
    {
    }
    ~ScriptedStream() override { end(); }

private:
    void step() override
    {
        if (delivered() < times_.size())
            return deliver(times_[delivered()], Picture::newOne);
        pollfd entry = {.fd = wakeUp().fileDescriptor(), .events = POLLIN, .revents = 0};
        waitFor({&entry, 1}, INT64_MAX);
    }
    void takeLastPicture() override { }
    const std::shared_ptr<const FramePicture>& picture() const override { return picture_; }
    const std::vector<PixelRect>& changedRects() const override { return changedRects_; }

    const std::vector<std::int64_t> times_;
    const std::shared_ptr<const FramePicture> picture_ = std::make_shared<FakeFramePicture>(makeCanvas(2, 2));
    const std::vector<PixelRect> changedRects_ = {{0, 0, 2, 2}};
};

// The times of the frames that a stream delivers for pictures of these times.
std::vector<std::int64_t> timesOfFrames(const std::vector<std::int64_t>& times)
{
    Guarded<std::vector<std::int64_t>> heard;
    ScriptedStream stream(times);
    stream.start({.onFrame =
                      [&](const VideoFrame& frame) {
                          heard.change(
                              [&](auto& all) { all.push_back(frame.presentationTime.nanoseconds()); });
                      },
        .onStopped = [](const std::exception_ptr&) {}});
    heard.waitFor(std::chrono::seconds(20), [&](const auto& all) { return all.size() >= times.size(); });
    stream.removeOutputs();
    stream.stop();
    return heard.with([](auto& all) { return all; });
}

constexpr std::int64_t millisecond = 1'000'000;

TEST(ThreadedCaptureStreamTests, FramesHaveTheTimesOfTheirPictures)
{
    const std::vector<std::int64_t> times = {5 * millisecond, 20 * millisecond, 40 * millisecond};
    EXPECT_EQ(timesOfFrames(times), times);
}

// A still screen is told as of now; what changed just before that comes later.
TEST(ThreadedCaptureStreamTests, APictureOlderThanTheLastFrameIsAFrameOfItsOwnAllTheSame)
{
    EXPECT_EQ(timesOfFrames({5 * millisecond, 500 * millisecond, 490 * millisecond, 500 * millisecond}),
        (std::vector<std::int64_t>{
            5 * millisecond, 500 * millisecond, 501 * millisecond, 502 * millisecond}));
}

} // namespace
} // namespace glimto
