#pragma once

#include <atomic>
#include <memory>

#include "Backends/Wayland/WaylandConnection.h"
#include "Backends/Wayland/WaylandFrameSource.h"
#include "Backends/Wayland/WaylandHeartbeat.h"
#include "Platform/CaptureStream.h"
#include "Platform/FrameGrid.h"
#include "Platform/StreamOutputs.h"
#include "Support/FileDescriptor.h"
#include "Support/NamedThread.h"

namespace glimto {

// Captures a display or a part of it, on a connection and a thread of its own.
class WaylandCaptureStream final : public CaptureStream {
public:
    // Connects and finds the display. Throws PlatformError.
    WaylandCaptureStream(const ContentFilter& filter, const CaptureStreamConfiguration& configuration);
    ~WaylandCaptureStream() override;

    void start(Handlers handlers) override;
    void stop() override;
    void removeOutputs() override;

private:
    void run();
    void step();
    void receive();
    void deliverLastPicture();
    void waitForPicture(std::int64_t deadline);
    void deliver(std::int64_t time, bool isNew);
    void endThread();

    CaptureStreamConfiguration configuration_;
    StreamOutputs outputs_;
    FileDescriptor wakeUp_; // readable once the stream is to end
    std::atomic<bool> mustEnd_ = false;
    std::atomic<bool> mustDeliverLastPicture_ = false;

    // Of the stream's thread once that runs. The others use the connection, so they go first.
    std::unique_ptr<WaylandConnection> connection_;
    std::unique_ptr<WaylandHeartbeat> heartbeat_;
    std::unique_ptr<WaylandFrameSource> source_;
    FrameGrid grid_;
    bool hasBegun_ = false;
    std::int64_t nextRequest_ = 0;
    std::int64_t repeatDue_ = 0;
    std::int64_t lastTime_ = 0;
    std::uint64_t nextSequenceNumber_ = 0;

    std::unique_ptr<NamedThread> thread_; // null while the stream does not run
};

} // namespace glimto
