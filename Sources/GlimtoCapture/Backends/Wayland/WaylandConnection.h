#pragma once

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <span>
#include <string>

#include <poll.h>

#include "Backends/Wayland/WaylandHandles.h"
#include "Backends/Wayland/WaylandOutput.h"
#include "Support/HostClock.h"

namespace glimto {

// One connection to the compositor that WAYLAND_DISPLAY names, with the objects that it offers to every
// client. Used by one thread at a time.
//
// Every wait for the compositor has a deadline, so one that hangs gives an error, never a hang.
class WaylandConnection {
public:
    // Connects and learns all there is. Throws PlatformError cannotConnect or noAnswer.
    // `WAYLAND_SOCKET`, which is good for one connection only, is not used.
    static std::unique_ptr<WaylandConnection> open();

    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    wl_display* display() const { return display_.get(); }
    int fileDescriptor() const { return wl_display_get_fd(display()); }

    // Null where the compositor does not offer it.
    wl_shm* shm() const { return shm_.get(); }
    wl_seat* seat() const { return seat_.get(); }
    zwlr_screencopy_manager_v1* screencopy() const { return screencopy_.get(); }
    ext_image_copy_capture_manager_v1* imageCopy() const { return imageCopy_.get(); }
    ext_output_image_capture_source_manager_v1* outputSources() const { return outputSources_.get(); }
    ext_foreign_toplevel_image_capture_source_manager_v1* windowSources() const
    {
        return windowSources_.get();
    }
    ext_data_control_manager_v1* commonDataControl() const { return commonDataControl_.get(); }
    zwlr_data_control_manager_v1* dataControl() const { return dataControl_.get(); }
    // Their windows begin to be told when they are bound, so that is done when they are wanted.
    WaylandHandle<zwlr_foreign_toplevel_manager_v1> bindToplevelManager();
    WaylandHandle<ext_foreign_toplevel_list_v1> bindWindowList();

    // How displays are captured on this connection: by the best of what the compositor offers.
    enum class CaptureWay { none, imageCopy, screencopy };
    CaptureWay captureWay() const;
    bool canCaptureWindows() const;

    bool canListWindows() const { return toplevelManager_.version != 0 || windowList_.version != 0; }

    // Why the screen cannot be captured on this connection, as a sentence for the user; empty when it can.
    std::string captureObstacle() const;

    // The displays, in the order in which the compositor announced them. Objects stay where they are until
    // their display goes.
    const std::list<std::unique_ptr<WaylandOutput>>& outputs() const { return outputs_; }

    // Returns when the compositor has done all that was asked of it. Throws noAnswer or connectionLost.
    void roundTrip();

    // Handles events until `isDone` says so or the time is over, and says which. Throws connectionLost.
    bool dispatchUntil(const std::function<bool()>& isDone, HostTime deadline);

    // Handles the events that are there, and those that come until `deadline`, or until one of `others` is as
    // it wishes; returns after the first. Throws connectionLost.
    void dispatchOnce(HostTime deadline, std::span<const pollfd> others = {});

private:
    // What the compositor offers, by its number.
    struct Global {
        std::uint32_t name = 0;
        std::uint32_t version = 0; // 0 where it does not
    };
    struct Disconnect {
        void operator()(wl_display* display) const noexcept { wl_display_disconnect(display); }
    };

    explicit WaylandConnection(wl_display* display);
    void learn();
    void didAddGlobal(const Global& global, const std::string& interface);
    void didRemoveGlobal(std::uint32_t name);
    void throwLost() const;

    template <typename Object>
    WaylandHandle<Object> bound(const Global& global, const wl_interface& interface, std::uint32_t newest);
    void addOutput(const Global& global);

    // First: the others go before it.
    std::unique_ptr<wl_display, Disconnect> display_;
    WaylandHandle<wl_registry> registry_;
    WaylandHandle<wl_shm> shm_;
    WaylandHandle<wl_seat> seat_;
    WaylandHandle<zxdg_output_manager_v1> xdgOutputs_;
    WaylandHandle<zwlr_screencopy_manager_v1> screencopy_;
    WaylandHandle<ext_image_copy_capture_manager_v1> imageCopy_;
    WaylandHandle<ext_output_image_capture_source_manager_v1> outputSources_;
    WaylandHandle<ext_foreign_toplevel_image_capture_source_manager_v1> windowSources_;
    WaylandHandle<zwlr_data_control_manager_v1> dataControl_;
    WaylandHandle<ext_data_control_manager_v1> commonDataControl_;
    Global toplevelManager_;
    Global windowList_;
    std::list<std::unique_ptr<WaylandOutput>> outputs_;
};

} // namespace glimto
