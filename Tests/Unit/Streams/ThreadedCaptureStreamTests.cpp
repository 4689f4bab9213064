#include "Backends/Streams/ThreadedCaptureStream.h"

#include <chrono>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "Fakes/FakeFramePicture.h"
#include "Support/Guarded.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

// Delivers one frame for each of the times, and then stands still.
class ScriptedStream final : public ThreadedCaptureStream {
public:
    explicit ScriptedStream(std::vector<HostTime> times)
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
        waitFor({&entry, 1}, HostTime::max());
    }
    void takeLastPicture() override { }
    const std::shared_ptr<const FramePicture>& picture() const override { return picture_; }
    const std::vector<PixelRect>& changedRects() const override { return changedRects_; }

    const std::vector<HostTime> times_;
    const std::shared_ptr<const FramePicture> picture_ = std::make_shared<FakeFramePicture>(makeCanvas(2, 2));
    const std::vector<PixelRect> changedRects_ = {{0, 0, 2, 2}};
};

// The times of the frames that a stream delivers for pictures of these times.
std::vector<HostTime> timesOfFrames(const std::vector<HostTime>& times)
{
    Guarded<std::vector<HostTime>> heard;
    ScriptedStream stream(times);
    stream.start({.onFrame =
                      [&](const VideoFrame& frame) {
                          heard.change([&](auto& all) {
                              all.emplace_back(HostClock::duration(frame.presentationTime.nanoseconds()));
                          });
                      },
        .onStopped = [](const std::exception_ptr&) {}});
    heard.waitFor(std::chrono::seconds(20), [&](const auto& all) { return all.size() >= times.size(); });
    stream.removeOutputs();
    stream.stop();
    return heard.with([](auto& all) { return all; });
}

HostTime at(std::chrono::milliseconds time)
{
    return HostTime(time);
}

TEST(ThreadedCaptureStreamTests, FramesHaveTheTimesOfTheirPictures)
{
    const std::vector<HostTime> times = {at(5ms), at(20ms), at(40ms)};
    EXPECT_EQ(timesOfFrames(times), times);
}

// A still screen is told as of now; what changed just before that comes later.
TEST(ThreadedCaptureStreamTests, APictureOlderThanTheLastFrameIsAFrameOfItsOwnAllTheSame)
{
    EXPECT_EQ(timesOfFrames({at(5ms), at(500ms), at(490ms), at(500ms)}),
        (std::vector<HostTime>{at(5ms), at(500ms), at(501ms), at(502ms)}));
}

} // namespace
} // namespace glimto
