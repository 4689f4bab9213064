#include "Stills/ScreenshotFirstFrameOutput.h"

#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "Fakes/FakeCaptureStream.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using namespace std::chrono_literals;

std::string errorOfWait(ScreenshotFirstFrameOutput& output)
{
    try {
        output.waitForFirstFrame(0s);
    } catch (const std::exception& error) {
        return error.what();
    }
    return "a frame";
}

VideoFrame frameWithStatus(std::optional<FrameStatus> status)
{
    auto frame = fakeFrame(0);
    frame.status = status;
    return frame;
}

TEST(ScreenshotFirstFrameOutputTests, AFrameThatCameBeforeTheWaitIsGivenAtOnce)
{
    ScreenshotFirstFrameOutput output;
    const auto frame = fakeFrame(0);
    output.didOutputFrame(frame);
    EXPECT_EQ(output.waitForFirstFrame(0s).pixelBuffer, frame.picture);
}

TEST(ScreenshotFirstFrameOutputTests, AFrameThatComesLaterEndsTheWait)
{
    ScreenshotFirstFrameOutput output;
    const auto frame = fakeFrame(0);
    std::thread stream([&] { output.didOutputFrame(frame); });
    EXPECT_EQ(output.waitForFirstFrame(60s).pixelBuffer, frame.picture);
    stream.join();
}

TEST(ScreenshotFirstFrameOutputTests, TheFirstOfSeveralFramesCounts)
{
    ScreenshotFirstFrameOutput output;
    const auto first = fakeFrame(0);
    output.didOutputFrame(first);
    output.didOutputFrame(fakeFrame(1));
    output.didStopWithError(std::make_exception_ptr(std::runtime_error("too late")));
    EXPECT_EQ(output.waitForFirstFrame(0s).pixelBuffer, first.picture);
}

TEST(ScreenshotFirstFrameOutputTests, OnlyCompleteAndStartedFramesAndThoseWithoutStatusAreUsable)
{
    using enum FrameStatus;
    const std::vector<std::pair<std::optional<FrameStatus>, bool>> cases = {{complete, true}, {started, true},
        {std::nullopt, true}, {idle, false}, {blank, false}, {suspended, false}, {stopped, false}};
    for (const auto& [status, isUsable] : cases) {
        ScreenshotFirstFrameOutput output;
        output.didOutputFrame(frameWithStatus(status));
        EXPECT_EQ(
            errorOfWait(output), isUsable ? "a frame" : "Timed out waiting for the first screenshot frame.");
    }
}

TEST(ScreenshotFirstFrameOutputTests, AFrameWithoutAPictureIsNotUsable)
{
    ScreenshotFirstFrameOutput output;
    auto frame = fakeFrame(0);
    frame.picture = nullptr;
    output.didOutputFrame(frame);
    EXPECT_EQ(errorOfWait(output), "Timed out waiting for the first screenshot frame.");
}

TEST(ScreenshotFirstFrameOutputTests, TheStreamsErrorIsThrownAsItStands)
{
    ScreenshotFirstFrameOutput output;
    output.didStopWithError(std::make_exception_ptr(PlatformError("X11", 1008, "The display is gone.")));
    output.didOutputFrame(fakeFrame(0));
    try {
        output.waitForFirstFrame(0s);
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.code(), 1008);
    }
}

TEST(ScreenshotFirstFrameOutputTests, AFrameIsGivenOnlyOnce)
{
    ScreenshotFirstFrameOutput output;
    output.didOutputFrame(fakeFrame(0));
    output.waitForFirstFrame(0s);
    EXPECT_EQ(errorOfWait(output), "Screenshot stream had already completed.");
}

TEST(ScreenshotFirstFrameOutputTests, AFrameAfterTheTimeOutIsIgnored)
{
    ScreenshotFirstFrameOutput output;
    EXPECT_EQ(errorOfWait(output), "Timed out waiting for the first screenshot frame.");
    output.didOutputFrame(fakeFrame(0));
    EXPECT_EQ(errorOfWait(output), "Screenshot stream had already completed.");
}

TEST(ScreenshotFirstFrameOutputTests, HandlersKeepItAlive)
{
    auto output = std::make_shared<ScreenshotFirstFrameOutput>();
    const std::weak_ptr<ScreenshotFirstFrameOutput> watched = output;
    auto handlers = output->handlers();
    output.reset();
    EXPECT_FALSE(watched.expired());
    handlers.onFrame(fakeFrame(0));
    EXPECT_EQ(errorOfWait(*watched.lock()), "a frame");
    handlers = {};
    EXPECT_TRUE(watched.expired());
}

} // namespace
} // namespace glimto
