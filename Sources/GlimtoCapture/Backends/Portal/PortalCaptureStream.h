#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "Backends/Portal/PortalPictures.h"
#include "Backends/Portal/PortalPointer.h"
#include "Backends/Portal/PortalShare.h"
#include "Backends/Portal/WakeUp.h"
#include "Platform/CaptureStream.h"
#include "Platform/FrameGrid.h"
#include "Platform/StreamOutputs.h"
#include "Support/NamedThread.h"

namespace glimto {

// Delivers what the user shares, on a thread of its own. A screen that does not change sends nothing, and
// costs two wake-ups a second.
class PortalCaptureStream final : public CaptureStream {
public:
    struct PointerTrack {
        std::shared_ptr<PortalPointer> listener; // the stream's and the window system's
        Rect sharedFrame; // all that is shared, in global display points
    };

    // `consumers` is what the share was made with.
    PortalCaptureStream(std::unique_ptr<PortalShare> share, std::shared_ptr<WakeUp> consumers,
        const PortalFraming& framing, MediaTime minimumFrameInterval, PointerTrack pointer);
    ~PortalCaptureStream() override;

    void start(Handlers handlers) override;
    void stop() override;
    void removeOutputs() override;

private:
    void run();
    void capture();
    void tellPointer();
    void step();
    void deliver(std::int64_t time, bool isNew);
    void deliverLastPicture();
    void endThread();

    StreamOutputs outputs_;
    std::shared_ptr<WakeUp> wakeUp_;
    std::atomic<bool> mustDeliverLastPicture_ = false;

    // Of the stream's thread once that runs.
    std::unique_ptr<PortalShare> share_;
    PortalPictures pictures_;
    FrameGrid grid_;
    PointerTrack pointer_;
    std::int64_t nextPictureDue_ = 0;
    std::int64_t repeatDue_ = 0;
    std::int64_t askDue_ = 0; // for a first picture
    std::int64_t lastTime_ = 0;
    std::uint64_t nextSequenceNumber_ = 0;

    std::unique_ptr<NamedThread> thread_;
};

} // namespace glimto
