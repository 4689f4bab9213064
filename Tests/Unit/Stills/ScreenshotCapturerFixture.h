#pragma once

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakePlatform.h"
#include "Fakes/TemporaryDirectory.h"
#include "Stills/ScreenshotCapturer.h"

namespace glimto {

// A machine with two displays side by side, (0,0 640x480) and (640,0 320x240), whose trigger comes at once.
class ScreenshotCapturerFixture : public testing::Test, protected FakePlatform {
protected:
    ScreenshotCapturerFixture()
    {
        content.content.displays = {display(71, {0, 0, 640, 480}), display(72, {640, 0, 320, 240})};
        options.outputURL = path;
        options.displayStrategy = ScreenshotDisplayStrategy::cursor;
    }

    static Display display(std::uint32_t id, const Rect& frame)
    {
        const int width = static_cast<int>(frame.width);
        const int height = static_cast<int>(frame.height);
        return {id, frame, width, height, width, height};
    }

    static Window ownWindow(std::uint32_t id, std::int32_t process = 100)
    {
        Window window;
        window.windowID = id;
        window.frame = {10, 10, 50, 50};
        window.isOnScreen = true;
        window.owningApplication = Application{process, "com.glimto.desktop", "Glimto"};
        return window;
    }

    ScreenshotMetadataJSON capture()
    {
        const ScreenshotTriggerSystem trigger = {.parentProcessID = [] { return 4000; },
            .now = [] { return std::chrono::steady_clock::time_point(); },
            .poll =
                [](pollfd& input, std::chrono::milliseconds) {
                    input.revents = POLLIN;
                    return 1;
                },
            .readByte =
                [this](int, char&) {
                    if (onTrigger)
                        onTrigger();
                    return triggerBytes;
                }};
        return ScreenshotCapturer(services, {standardOutput, standardError}, trigger).capture(options);
    }

    template <typename ErrorType> std::string errorOfCapture()
    {
        try {
            capture();
        } catch (const ErrorType& error) {
            return error.what();
        }
        return "nothing was thrown";
    }

    const DisplayContentFilter& capturedContent() const
    {
        return std::get<DisplayContentFilter>(stills.capture.filter->content);
    }

    TemporaryDirectory directory;
    std::filesystem::path path = directory.path() / "shot.png";
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    ScreenshotOptions options;
    std::function<void()> onTrigger; // runs when the trigger byte is read
    ssize_t triggerBytes = 1;
};

} // namespace glimto
