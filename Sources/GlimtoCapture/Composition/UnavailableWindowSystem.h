#pragma once

#include <string>

#include "Platform/WindowSystem.h"

namespace glimto {

// Stands where there is no window system that the program could use: every service refuses for one reason.
class UnavailableWindowSystem final : public WindowSystem {
public:
    // `reason` is a sentence for the user.
    explicit UnavailableWindowSystem(const std::string& reason)
        : access_(reason)
        , content_(reason)
        , capture_(reason)
        , pasteboard_(reason)
    {
    }

    const char* name() const override { return "none"; }
    WindowSystemCapabilities capabilities() const override;
    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return pasteboard_; }
    StillCapture* stills() override { return nullptr; }

private:
    class Access final : public ScreenAccess {
    public:
        explicit Access(std::string reason)
            : reason_(std::move(reason))
        {
        }
        ScreenCaptureAccess preflightScreenCaptureAccess() override
        {
            return ScreenCaptureAccess::denied(reason_);
        }
        std::optional<std::int32_t> frontmostProcessID() override { return std::nullopt; }
        std::optional<Point> cursorLocation() override { return std::nullopt; }
        std::optional<std::uint32_t> displayIDAt(Point) override { return std::nullopt; }

    private:
        std::string reason_;
    };

    class Content final : public ShareableContentProvider {
    public:
        explicit Content(std::string reason)
            : reason_(std::move(reason))
        {
        }
        ShareableContent fetch(const ContentQuery& query) override;

    private:
        std::string reason_;
    };

    class Capture final : public ScreenCapture {
    public:
        explicit Capture(std::string reason)
            : reason_(std::move(reason))
        {
        }
        std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;

    private:
        std::string reason_;
    };

    class NoEventTaps final : public EventTapFactory {
    public:
        std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t) override { return nullptr; }
    };

    class NoPasteboard final : public Pasteboard {
    public:
        explicit NoPasteboard(std::string reason)
            : reason_(std::move(reason))
        {
        }
        std::optional<std::string> setPNG(std::span<const std::byte>) override { return reason_; }

    private:
        std::string reason_;
    };

    Access access_;
    Content content_;
    Capture capture_;
    NoEventTaps eventTaps_;
    NoPasteboard pasteboard_;
};

} // namespace glimto
