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

bool wasDeclined(const PlatformError& error)
{
    return error.domain() == captureStreamErrorDomain && error.code() == captureDeclinedErrorCode;
}

bool isRefusal(const PlatformError& error)
{
    return wasDeclined(error)
        || (error.domain() == portalErrorDomain
            && error.code() == static_cast<std::int64_t>(PortalFailure::badAnswer));
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
        const std::string token = tokens_.token(purpose());
        ScreenCastSession::Grant grant;
        try {
            grant = ask(*share, token);
        } catch (const PlatformError& error) {
            if (token.empty() || !isRefusal(error))
                throw;
            // The token may have been the cause: a portal that has forgotten it, or never gave it.
            tokens_.keep(purpose(), {});
            if (wasDeclined(error))
                throw;
            share = std::make_unique<PortalShare>(opening_, consumers);
            grant = ask(*share, {});
        }
        tokens_.keep(purpose(), grant.restoreToken);
        share->beginStream(grant, framesPerSecond(request_.configuration.minimumFrameInterval));

        const auto* arrived = share->screen().arrived();
        const auto& format = *share->screen().format();
        const auto cut = portalCut(request_, grant.stream, arrived ? arrived->part.width : format.width,
            arrived ? arrived->part.height : format.height);
        OpenedCapture opened;
        opened.facts = cut.facts;
        opened.hidesApplications = !isDisplay();
        opened.obeysCursorWish
            = request_.configuration.showsCursor == (grant.cursorMode == PortalCursorMode::embedded);
        pointer_->setIsTold(grant.cursorMode == PortalCursorMode::metadata);
        opened.stream = makePortalCaptureStream(std::move(share), consumers, cut.framing,
            request_.configuration.minimumFrameInterval, PortalPointerTrack{pointer_, cut.sharedFrame});
        return opened;
    }

    void giveUp() noexcept override { opening_->end(); }

private:
    bool isDisplay() const { return std::holds_alternative<DisplayContentFilter>(request_.filter.content); }

    // What the user's choice is remembered for.
    std::string purpose() const
    {
        if (const auto* display = std::get_if<DisplayContentFilter>(&request_.filter.content))
            return "display " + std::to_string(display->display.displayID);
        return "window "
            + std::to_string(std::get<WindowContentFilter>(request_.filter.content).window.windowID);
    }

    ScreenCastSession::Grant ask(PortalShare& share, const std::string& token) const
    {
        return share.open({.sourceKind = isDisplay() ? PortalSourceKind::monitor : PortalSourceKind::window,
            .showsCursor = request_.configuration.showsCursor,
            .restoreToken = token});
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
