#include "Backends/Portal/PortalCaptureStream.h"

#include <algorithm>
#include <utility>

#include "Backends/Streams/ThreadedCaptureStream.h"
#include "Platform/FrameGrid.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds askInterval(1);

// Consumers wake the stream when they let go of what it waits for; this is for those who do not.
constexpr std::chrono::milliseconds retryInterval(20);

class PortalCaptureStream final : public ThreadedCaptureStream {
public:
    PortalCaptureStream(std::unique_ptr<PortalShare> share, std::shared_ptr<WakeUp> consumers,
        const PortalFraming& framing, MediaTime minimumFrameInterval, PortalPointerTrack pointer)
        : ThreadedCaptureStream(std::move(consumers))
        , share_(std::move(share))
        , pictures_(share_->screen(), framing)
        , grid_(minimumFrameInterval)
        , pointer_(std::move(pointer))
    {
    }

    ~PortalCaptureStream() override { end(); }

private:
    const std::shared_ptr<const FramePicture>& picture() const override { return pictures_.picture(); }
    const std::vector<PixelRect>& changedRects() const override { return pictures_.changedRects(); }
    void release() override { share_.reset(); }

    void capture() override
    {
        const PipeWireScreen::Turn turn(share_->screen());
        askDue_ = HostClock::now() + askInterval;
        ThreadedCaptureStream::capture();
    }

    void step() override
    {
        share_->handleEvents();
        tellPointer();
        const auto now = HostClock::now();
        if (now >= nextPictureDue_ && pictures_.take()) {
            if (delivered() == 0)
                grid_.begin(now);
            nextPictureDue_ = grid_.pointAfter(now);
            deliverNow(Picture::newOne, pictures_.time());
            return;
        }
        HostTime until = now + nextRepetitionAfter;
        if (picture()) {
            if (now >= repeatDue_)
                deliverNow(Picture::asBefore, now);
            until = repeatDue_;
        } else if (now >= askDue_) {
            share_->screen().askForPicture();
            askDue_ = now + askInterval;
        }
        if (share_->screen().arrived())
            until = std::min(until, nextPictureDue_ > now ? nextPictureDue_ : now + retryInterval);
        share_->wait(wakeUp(), until);
    }

    void deliverNow(Picture kind, HostTime time)
    {
        repeatDue_
            = HostClock::now() + (kind == Picture::newOne ? firstRepetitionAfter : nextRepetitionAfter);
        deliver(time, kind);
    }

    void tellPointer()
    {
        const auto pointer = share_->screen().pointer();
        if (!pointer)
            return;
        const Rect& frame = pointer_.sharedFrame;
        pointer_.listener->moved(
            {frame.x + pointer->place.x * frame.width, frame.y + pointer->place.y * frame.height},
            pointer->time);
    }

    void takeLastPicture() override
    {
        share_->handleEvents();
        if (HostClock::now() >= nextPictureDue_ && pictures_.take())
            deliver(pictures_.time(), Picture::newOne);
    }

    // Of the stream's thread once that runs.
    std::unique_ptr<PortalShare> share_;
    PortalPictures pictures_;
    FrameGrid grid_;
    PortalPointerTrack pointer_;
    HostTime nextPictureDue_;
    HostTime repeatDue_;
    HostTime askDue_; // for a first picture
};

} // namespace

std::shared_ptr<CaptureStream> makePortalCaptureStream(std::unique_ptr<PortalShare> share,
    std::shared_ptr<WakeUp> consumers, const PortalFraming& framing, MediaTime minimumFrameInterval,
    PortalPointerTrack pointer)
{
    return std::make_shared<PortalCaptureStream>(
        std::move(share), std::move(consumers), framing, minimumFrameInterval, std::move(pointer));
}

} // namespace glimto
