#include "Backends/Portal/PortalScreenCapture.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "Backends/Portal/PortalCaptureStream.h"
#include "Backends/Portal/PortalErrors.h"
#include "Backends/Portal/PortalFacts.h"
#include "Backends/Portal/PortalShare.h"
#include "Platform/CaptureErrors.h"

namespace glimto {

namespace {

constexpr double mostFramesPerSecond = 240;

std::uint32_t framesPerSecond(const MediaTime& interval)
{
    if (!interval.isValid() || interval.value <= 0)
        return 60;
    return static_cast<std::uint32_t>(
        std::clamp(std::ceil(1 / interval.seconds() - 0.001), 1.0, mostFramesPerSecond));
}

class PortalCaptureOpening final : public CaptureOpening {
public:
    PortalCaptureOpening(
        const CaptureRequest& request, RestoreTokens tokens, std::shared_ptr<PortalPointer> pointer)
        : request_(request)
        , tokens_(std::move(tokens))
        , pointer_(std::move(pointer))
        , opening_(std::make_shared<WakeUp>())
    {
    }

    OpenedCapture open() override
    {
        const auto consumers = std::make_shared<WakeUp>();
        auto share = std::make_unique<PortalShare>(opening_, consumers);
        const auto grant = ask(*share);
        share->beginStream(grant, framesPerSecond(request_.configuration.minimumFrameInterval));

        const auto* arrived = share->screen().arrived();
        const auto& format = *share->screen().format();
        const auto cut = portalCut(request_, grant.stream, arrived ? arrived->part.width : format.width,
            arrived ? arrived->part.height : format.height);
        OpenedCapture opened;
        opened.facts = cut.facts;
        opened.hidesApplications = std::holds_alternative<WindowContentFilter>(request_.filter.content);
        opened.obeysCursorWish
            = request_.configuration.showsCursor == (grant.cursorMode == PortalCursorMode::embedded);
        pointer_->setIsTold(grant.cursorMode == PortalCursorMode::metadata);
        opened.stream = std::make_shared<PortalCaptureStream>(std::move(share), consumers, cut.framing,
            request_.configuration.minimumFrameInterval,
            PortalCaptureStream::PointerTrack{pointer_, cut.sharedFrame});
        return opened;
    }

    void giveUp() noexcept override { opening_->end(); }

private:
    ScreenCastSession::Grant ask(PortalShare& share)
    {
        const auto* display = std::get_if<DisplayContentFilter>(&request_.filter.content);
        const auto* window = std::get_if<WindowContentFilter>(&request_.filter.content);
        const std::string purpose = display ? "display " + std::to_string(display->display.displayID)
                                            : "window " + std::to_string(window->window.windowID);
        const std::string token = tokens_.token(purpose);
        try {
            auto grant
                = share.open({.sourceKind = display ? PortalSourceKind::monitor : PortalSourceKind::window,
                    .showsCursor = request_.configuration.showsCursor,
                    .restoreToken = token});
            tokens_.keep(purpose, grant.restoreToken);
            return grant;
        } catch (const PlatformError& error) {
            // What was refused with it will not be granted for it.
            const bool isRefused = error.domain() == captureStreamErrorDomain
                || error.code() == static_cast<std::int64_t>(PortalFailure::badAnswer);
            if (!token.empty() && isRefused)
                tokens_.keep(purpose, {});
            throw;
        }
    }

    CaptureRequest request_;
    RestoreTokens tokens_;
    std::shared_ptr<PortalPointer> pointer_;
    std::shared_ptr<WakeUp> opening_; // whoever gives up and what is opened
};

} // namespace

PortalScreenCapture::PortalScreenCapture(RestoreTokens tokens, std::shared_ptr<PortalPointer> pointer)
    : tokens_(std::move(tokens))
    , pointer_(std::move(pointer))
{
}

std::shared_ptr<CaptureOpening> PortalScreenCapture::makeOpening(const CaptureRequest& request)
{
    return std::make_shared<PortalCaptureOpening>(request, tokens_, pointer_);
}

} // namespace glimto
