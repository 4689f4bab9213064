#include "Backends/X11/Pictures/X11StreamOutputs.h"

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

TEST(X11StreamOutputsTests, DeliversFrames)
{
    Received received;
    X11StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.deliver({});
    outputs.deliver({});
    EXPECT_EQ(received.frames, 2);
}

TEST(X11StreamOutputsTests, NothingFollowsAFailure)
{
    Received received;
    X11StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    outputs.deliver({});
    EXPECT_EQ(received.failures, 1);
    EXPECT_EQ(received.frames, 0);
}

TEST(X11StreamOutputsTests, NothingFollowsTheClosing)
{
    Received received;
    X11StreamOutputs outputs;
    outputs.set(received.handlers());
    outputs.close();
    outputs.close();
    outputs.deliver({});
    outputs.fail(std::make_exception_ptr(std::runtime_error("gone")));
    EXPECT_EQ(received.frames, 0);
    EXPECT_EQ(received.failures, 0);
}

TEST(X11StreamOutputsTests, AHandlerMayCloseThemItself)
{
    int frames = 0;
    X11StreamOutputs outputs;
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
