#include "Backends/X11/Pictures/X11StillCapture.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <utility>

#include <poll.h>
#include <xcb/randr.h>
#include <xcb/shm.h>

#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Backends/X11/Pictures/X11DisplayPicture.h"
#include "Backends/X11/Pictures/X11FrameGrabber.h"
#include "Backends/X11/Pictures/X11ScreenReader.h"

namespace glimto {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{8};

// How long a picture that cannot be taken yet is waited for before it is tried again.
constexpr std::chrono::milliseconds retryInterval{5};

PixelSize sizeOf(const CaptureStreamConfiguration& configuration)
{
    return {configuration.width, configuration.height};
}

bool isPlainScreen(const ContentFilter& filter)
{
    const auto* display = std::get_if<DisplayContentFilter>(&filter.content);
    return display && display->excludedApplications.empty();
}

bool showsTheSame(const ContentFilter& a, const ContentFilter& b)
{
    const auto* displayA = std::get_if<DisplayContentFilter>(&a.content);
    const auto* displayB = std::get_if<DisplayContentFilter>(&b.content);
    if (!displayA || !displayB)
        return false;
    const auto isSameWindow
        = [](const Window& one, const Window& other) { return one.windowID == other.windowID; };
    return displayA->display.displayID == displayB->display.displayID
        && displayA->excludedApplications == displayB->excludedApplications
        && std::equal(displayA->exceptingWindows.begin(), displayA->exceptingWindows.end(),
            displayB->exceptingWindows.begin(), displayB->exceptingWindows.end(), isSameWindow);
}

} // namespace

class X11StillCapture::Session {
public:
    Session(const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        : filter_(filter)
        , configuration_(configuration)
        , connection_(X11Connection::open())
    {
        connection_->setAnswerTimeout(patience);
        connection_->setDeadline(Clock::now() + patience);
        if (isPlainScreen(filter)) {
            for (xcb_extension_t* extension : {&xcb_shm_id, &xcb_randr_id})
                xcb_prefetch_extension_data(connection_->xcb(), extension);
            connection_->reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection_->xcb()));
            reader_.emplace(*connection_, sizeOf(configuration));
            return;
        }
        startPictureExtensions(*connection_);
        grabber_.emplace(*connection_, makeX11PictureSource(*connection_, filter, configuration),
            sizeOf(configuration), 1, false);
    }

    // For a picture that is not wanted yet.
    void getReady()
    {
        if (reader_)
            reader_->touchMemory();
    }

    // Whether it can take that picture.
    bool serves(const ContentFilter& filter, const CaptureStreamConfiguration& configuration) const
    {
        if (reader_)
            return isPlainScreen(filter);
        return showsTheSame(filter_, filter) && configuration_.sourceRect == configuration.sourceRect
            && sizeOf(configuration_) == sizeOf(configuration);
    }

    std::optional<PixelCanvas> capture(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
    {
        const auto deadline = Clock::now() + patience;
        connection_->setDeadline(deadline);
        if (!reader_)
            return grab(deadline);
        const auto& content = std::get<DisplayContentFilter>(filter.content);
        const Display display = connectedDisplay(*connection_, content.display.displayID);
        const PixelSize size = sizeOf(configuration);
        return reader_->read(capturedArea(display, configuration.sourceRect, size), size);
    }

private:
    std::optional<PixelCanvas> grab(Clock::time_point deadline)
    {
        while (Clock::now() < deadline) {
            grabber_->handleEvents();
            if (grabber_->grab() == X11FrameGrabber::Result::changed)
                return copyOf(grabber_->picture()->pixels(), grabber_->picture()->format());
            connection_->flush();
            pollfd entry = {.fd = connection_->fileDescriptor(), .events = POLLIN, .revents = 0};
            ::poll(&entry, 1, static_cast<int>(retryInterval.count()));
        }
        return std::nullopt;
    }

    ContentFilter filter_;
    CaptureStreamConfiguration configuration_;
    std::unique_ptr<X11Connection> connection_;
    // One of the two; they use the connection, so they go first.
    std::optional<X11ScreenReader> reader_;
    std::optional<X11FrameGrabber> grabber_;
};

X11StillCapture::X11StillCapture() = default;

X11StillCapture::~X11StillCapture() = default;

void X11StillCapture::prepare(const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
{
    try {
        session_ = std::make_unique<Session>(filter, configuration);
        session_->getReady();
    } catch (const std::exception&) {
        // Taking the picture will tell.
        session_.reset();
    }
}

std::optional<PixelCanvas> X11StillCapture::captureImage(
    const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
{
    auto session = std::exchange(session_, nullptr);
    if (!session || !session->serves(filter, configuration)) {
        session.reset();
        session = std::make_unique<Session>(filter, configuration);
    }
    return session->capture(filter, configuration);
}

} // namespace glimto
