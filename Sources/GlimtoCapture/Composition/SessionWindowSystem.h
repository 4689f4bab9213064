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

    // `besides` has a clipboard that the session shares with it, which serves where no way leads to one; may
    // be null.
    SessionWindowSystem(std::vector<Way> ways, std::unique_ptr<WindowSystem> besides, Listener listener);

    const char* name() const override { return chosen().name(); }
    WindowSystemCapabilities capabilities() const override { return chosen().capabilities(); }
    ScreenAccess& access() override { return chosen().access(); }
    ShareableContentProvider& content() override { return chosen().content(); }
    ScreenCapture& capture() override { return chosen().capture(); }
    EventTapFactory& eventTaps() override { return chosen().eventTaps(); }
    // That of the first way that has one, whether or not the screen can be captured there.
    Pasteboard& pasteboard() override { return pasteboard_; }
    StillCapture* stills() override { return chosen().stills(); }

private:
    class FirstPasteboard final : public Pasteboard {
    public:
        explicit FirstPasteboard(const SessionWindowSystem& session)
            : session_(session)
        {
        }
        std::optional<std::string> setPNG(std::span<const std::byte> data) override;

    private:
        const SessionWindowSystem& session_;
    };

    WindowSystem& chosen() const;
    WindowSystem& choose() const;

    std::vector<Way> ways_;
    std::unique_ptr<WindowSystem> besides_;
    Listener listener_;
    mutable SerialQueue choosing_{"glimto.capture.window-system", SerialQueue::Thread::none}; // once
    mutable WindowSystem* chosen_ = nullptr;
    FirstPasteboard pasteboard_{*this};
    mutable std::unique_ptr<WindowSystem> none_; // stands for it where no way is open
};

} // namespace glimto
