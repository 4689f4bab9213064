#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/WindowSystem.h"
#include "Support/SerialQueue.h"

namespace glimto {

// The first of several ways to the screen that is open. They are tried when the first service is asked for,
// so that commands which need none pay for none. Any thread.
class SessionWindowSystem final : public WindowSystem {
public:
    struct Way {
        std::string name; // for people
        // What it leads through; it belongs to whoever made the way and outlives this object. Throws
        // PlatformError where it cannot be had.
        std::function<WindowSystem&()> open;
    };
    // Told which way was taken, and why others were not; one sentence a call.
    using Listener = std::function<void(const std::string& sentence)>;

    SessionWindowSystem(std::vector<Way> ways, Listener listener);

    const char* name() const override { return chosen().name(); }
    WindowSystemCapabilities capabilities() const override { return chosen().capabilities(); }
    ScreenAccess& access() override { return chosen().access(); }
    ShareableContentProvider& content() override { return chosen().content(); }
    ScreenCapture& capture() override { return chosen().capture(); }
    EventTapFactory& eventTaps() override { return chosen().eventTaps(); }
    Pasteboard& pasteboard() override { return chosen().pasteboard(); }
    StillCapture* stills() override { return chosen().stills(); }

private:
    WindowSystem& chosen() const;
    WindowSystem& choose() const;

    std::vector<Way> ways_;
    Listener listener_;
    mutable SerialQueue choosing_{"glimto.capture.window-system", SerialQueue::Thread::none}; // once
    mutable WindowSystem* chosen_ = nullptr;
    mutable std::unique_ptr<WindowSystem> none_; // stands for it where no way is open
};

} // namespace glimto
