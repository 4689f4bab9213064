#include "Platform/StreamOutputs.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace glimto {
namespace {

struct Received {
    int frames = 0;
    int failures = 0;

    CaptureStream::Handlers handlers()
    {
        return {.onFrame = [this](const VideoFrame&) { ++frames; },
            .onStopped = [this](std::exception_ptr) { ++failures; }};
    }
};

TEST(StreamOutputsTests, DeliversFrames)
{
    Received received;
    StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.deliver({});
    outputs.deliver({});
    EXPECT_EQ(received.frames, 2);
}

TEST(StreamOutputsTests, NothingFollowsAFailure)
{
    Received received;
    StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    outputs.deliver({});
    EXPECT_EQ(received.failures, 1);
    EXPECT_EQ(received.frames, 0);
}

TEST(StreamOutputsTests, NothingFollowsTheClosing)
{
    Received received;
    StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.close();
    outputs.close();
    outputs.deliver({});
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    EXPECT_EQ(received.frames, 0);
    EXPECT_EQ(received.failures, 0);
}

TEST(StreamOutputsTests, AHandlerMayCloseThemItself)
{
    int frames = 0;
    StreamOutputs outputs;
    outputs.set({.onFrame =
                     [&](const VideoFrame&) {
                         ++frames;
                         outputs.close();
                     },
        .onStopped = {}});
    outputs.deliver({});
    outputs.deliver({});
    EXPECT_EQ(frames, 1);
}

} // namespace
} // namespace glimto
