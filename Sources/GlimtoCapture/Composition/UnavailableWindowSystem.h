#pragma once

#include <string>

#include "Platform/WindowSystem.h"

namespace glimto {

// Stands where there is no window system that the program could use: every service refuses for one reason. It
// is all of its services itself.
class UnavailableWindowSystem final : public WindowSystem,
                                      private ScreenAccess,
                                      private ShareableContentProvider,
                                      private ScreenCapture,
                                      private EventTapFactory,
                                      private Pasteboard {
public:
    // `reason` is a sentence for the user.
    explicit UnavailableWindowSystem(std::string reason)
        : reason_(std::move(reason))
    {
    }

    const char* name() const override { return "none"; }
    WindowSystemCapabilities capabilities() const override;
    ScreenAccess& access() override { return *this; }
    ShareableContentProvider& content() override { return *this; }
    ScreenCapture& capture() override { return *this; }
    EventTapFactory& eventTaps() override { return *this; }
    Pasteboard& pasteboard() override { return *this; }

private:
    ScreenCaptureAccess preflightScreenCaptureAccess() override
    {
        return ScreenCaptureAccess::denied(reason_);
    }
    std::optional<std::int32_t> frontmostProcessID() override { return std::nullopt; }
    std::optional<Point> cursorLocation() override { return std::nullopt; }
    std::optional<std::uint32_t> displayIDAt(Point) override { return std::nullopt; }

    ShareableContent fetch(const ContentQuery& query) override;
    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override;
    std::unique_ptr<EventTap> makeListenOnlyTap(std::uint64_t) override { return nullptr; }
    std::optional<std::string> setPNG(std::span<const std::byte>) override { return reason_; }

    const std::string reason_;
};

} // namespace glimto
