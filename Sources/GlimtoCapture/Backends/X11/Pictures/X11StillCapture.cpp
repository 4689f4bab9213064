#include "Backends/X11/Pictures/X11StillCapture.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <utility>

#include <xcb/randr.h>
#include <xcb/shm.h>

#include "Backends/X11/Connection/X11Connection.h"
#include "Backends/X11/Connection/X11PixelRects.h"
#include "Backends/X11/Connection/X11SharedMemory.h"
#include "Backends/X11/Pictures/X11ContentPicture.h"
#include "Backends/X11/Pictures/X11DisplayPicture.h"
#include "Backends/X11/Pictures/X11FrameGrabber.h"
#include "Backends/X11/Pictures/X11PixelFormat.h"
#include "Platform/StillCapture.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// Reads the screen as it is, in one piece, without the pointer. Needs no extension of the server, and is
// faster where it has MIT-SHM. Used by the thread of the connection.
class X11ScreenReader {
public:
    // Memory for a picture of `expected` size is got ready. Throws PlatformError when the screen has a
    // format that cannot be read. The connection outlives it.
    X11ScreenReader(X11Connection& connection, PixelSize expected)
        : connection_(connection)
        , format_(X11PixelFormat::ofRoot(connection))
    {
        if (!expected.isEmpty())
            memoryFor(format_.byteCount(expected));
    }

    ~X11ScreenReader() { releaseMemory(); }

    X11ScreenReader(const X11ScreenReader&) = delete;
    X11ScreenReader& operator=(const X11ScreenReader&) = delete;

    // Has the system give the memory its pages now, which it would do while the picture is taken.
    void touchMemory()
    {
        if (memory_)
            std::memset(memory_->bytes(), 0, memory_->size());
    }

    // The part `area` of the root window as a picture of size `output`, black where it shows nothing. Nothing
    // when the server gives no picture. To be called once. Throws PlatformError.
    std::optional<PixelCanvas> read(const PixelRect& area, PixelSize output)
    {
        const auto root = connection_.reply<xcb_get_geometry_reply_t>(
            xcb_get_geometry(connection_.xcb(), connection_.root()));
        if (!root)
            return std::nullopt;
        const PixelRect wanted = intersection(area, {area.x, area.y, output.width, output.height});
        const PixelRect visible = intersection(wanted, wholeOf({root->width, root->height}));
        if (visible.isEmpty())
            return std::nullopt;
        const auto pixels = readPixels(visible);
        if (!pixels || PixelSize{visible.width, visible.height} == output)
            return pixels;
        const PixelCanvas whole = makeCanvas(output.width, output.height);
        std::memset(whole.bytes, 0, whole.bytesPerRow * static_cast<std::size_t>(whole.height));
        convertPixels(
            *pixels, whole.part({visible.x - area.x, visible.y - area.y, visible.width, visible.height}));
        return whole;
    }

private:
    std::shared_ptr<X11SharedMemory> memoryFor(std::size_t size)
    {
        if (!memory_ || memory_->size() < size) {
            releaseMemory();
            memory_ = X11SharedMemory::make(connection_, size);
        }
        return memory_;
    }

    void releaseMemory()
    {
        if (memory_ && memory_->segment() != XCB_NONE)
            xcb_shm_detach(connection_.xcb(), memory_->segment());
        memory_.reset();
    }

    std::optional<PixelCanvas> readPixels(const PixelRect& rect)
    {
        const xcb_rectangle_t area = xcbRectangle(rect);
        const PixelSize size = {rect.width, rect.height};
        const auto memory = memoryFor(format_.byteCount(size));
        if (memory->segment() != XCB_NONE) {
            constexpr std::uint32_t allPlanes = ~0U;
            const auto cookie = xcb_shm_get_image(connection_.xcb(), connection_.root(), area.x, area.y,
                area.width, area.height, allPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, memory->segment(), 0);
            if (connection_.reply<xcb_shm_get_image_reply_t>(cookie))
                return format_.pixels(memory->bytes(), size, memory);
        }
        return readX11Image(connection_, connection_.root(), rect, format_);
    }

    X11Connection& connection_;
    X11PixelFormat format_;
    std::shared_ptr<X11SharedMemory> memory_; // shared with the picture that lies in it
};

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
    return displayA->display.displayID == displayB->display.displayID
        && displayA->excludedApplications == displayB->excludedApplications
        && std::ranges::equal(
            displayA->exceptingWindows, displayB->exceptingWindows, {}, &Window::windowID, &Window::windowID);
}

// What is held ready for one picture.
class Session {
public:
    Session(const ContentFilter& filter, const CaptureStreamConfiguration& configuration)
        : filter_(filter)
        , configuration_(configuration)
        , connection_(X11Connection::open())
    {
        connection_->setAnswerTimeout(patience);
        connection_->setDeadline(HostClock::now() + patience);
        if (isPlainScreen(filter)) {
            for (xcb_extension_t* extension : {&xcb_shm_id, &xcb_randr_id})
                xcb_prefetch_extension_data(connection_->xcb(), extension);
            connection_->reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection_->xcb()));
            reader_.emplace(*connection_, sizeOf(configuration));
            return;
        }
        startPictureExtensions(*connection_);
        grabber_.emplace(*connection_, makeX11PictureSource(*connection_, filter, configuration),
            sizeOf(configuration), 1, X11FrameGrabber::Cursor::hidden);
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
        const auto deadline = HostClock::now() + patience;
        connection_->setDeadline(deadline);
        if (!reader_)
            return grab(deadline);
        const auto& content = std::get<DisplayContentFilter>(filter.content);
        const Display display = connectedDisplay(*connection_, content.display.displayID);
        const PixelSize size = sizeOf(configuration);
        return reader_->read(capturedArea(display, configuration.sourceRect, size), size);
    }

private:
    std::optional<PixelCanvas> grab(HostTime deadline)
    {
        while (HostClock::now() < deadline) {
            grabber_->handleEvents();
            if (grabber_->grab() == X11FrameGrabber::Result::changed)
                return copyOf(grabber_->picture()->pixels(), grabber_->picture()->format());
            connection_->flush();
            connection_->waitReadable(HostClock::now() + retryInterval);
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

class X11StillCapture final : public StillCapture {
public:
    void prepare(const ContentFilter& filter, const CaptureStreamConfiguration& configuration) override
    {
        try {
            session_ = std::make_unique<Session>(filter, configuration);
            session_->getReady();
        } catch (const std::exception&) {
            // Taking the picture will tell.
            session_.reset();
        }
    }

    std::optional<PixelCanvas> captureImage(
        const ContentFilter& filter, const CaptureStreamConfiguration& configuration) override
    {
        auto session = std::exchange(session_, nullptr);
        if (!session || !session->serves(filter, configuration)) {
            session.reset();
            session = std::make_unique<Session>(filter, configuration);
        }
        return session->capture(filter, configuration);
    }

private:
    std::unique_ptr<Session> session_; // that prepare() has made
};

} // namespace

std::unique_ptr<StillCapture> makeX11StillCapture()
{
    return std::make_unique<X11StillCapture>();
}

} // namespace glimto
