#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Backends/Portal/PipeWireBuffer.h"
#include "Backends/Portal/PipeWireFormat.h"
#include "Backends/Streams/WakeUp.h"
#include "Platform/FramePicture.h"
#include "Platform/Geometry.h"
#include "Support/Errors.h"
#include "Support/FileDescriptor.h"
#include "Support/HostClock.h"

namespace glimto {

// The newest picture of a stream that nobody has taken yet.
struct ArrivedPicture {
    PixelBuffer pixels; // memory of the stream
    PixelRect part; // what of it is meant to be seen
    // Where it may differ from the picture that was taken before.
    std::vector<PixelRect> changedRects;
    HostTime time = {}; // when it was made or came
};

// The stream of a screen or window in PipeWire, at the end of a connection that shows nothing else. Whatever
// comes from there is measured before it is used.
//
// One thread at a time, which holds a Turn while it handles events.
class PipeWireScreen {
public:
    PipeWireScreen() = default;
    virtual ~PipeWireScreen() = default;
    PipeWireScreen(const PipeWireScreen&) = delete;
    PipeWireScreen& operator=(const PipeWireScreen&) = delete;

    // The thread that holds one may handle events.
    class Turn {
    public:
        explicit Turn(PipeWireScreen& screen)
            : screen_(screen)
        {
            screen_.enter();
        }
        ~Turn() { screen_.leave(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        PipeWireScreen& screen_;
    };

    // Handles what has come, without waiting. Throws PlatformError: sourceGone, or noPicture when no format
    // is common to both ends.
    virtual void handleEvents() = 0;
    virtual int fileDescriptor() const = 0; // readable when something has come

    // Absent until both ends have agreed.
    virtual const std::optional<PipeWireFormat>& format() const = 0;

    // Asks for a picture of a screen on which nothing happens: most providers send one when a stream begins.
    virtual void askForPicture() = 0;

    // Null when there is none. Valid until the next events are handled or it was taken.
    virtual const ArrivedPicture* arrived() const = 0;

    // Takes it, without a copy of what lies in `part`. Null when consumers hold too many, or it lies in
    // memory that does not stay; the picture is still there then.
    virtual std::shared_ptr<const FramePicture> lend(const PixelRect& part) = 0;

    // Takes it, after it was copied.
    virtual void finish() = 0;

    // Where the pointer was seen last, in fractions of what is meant to be seen; absent when it is elsewhere
    // or not told.
    struct PointerPlace {
        Point place;
        HostTime time = {};
    };
    virtual std::optional<PointerPlace> pointer() const = 0;

private:
    virtual void enter() = 0;
    virtual void leave() = 0;
};

// `wakeUp`, owned with those who hold pictures, is woken when they let go. Throws PlatformError.
std::unique_ptr<PipeWireScreen> openPipeWireScreen(const FileDescriptor& remote, std::uint32_t nodeID,
    std::uint32_t mostFramesPerSecond, PipeWireParameters::PointerPlace pointer,
    std::shared_ptr<WakeUp> wakeUp);

} // namespace glimto
