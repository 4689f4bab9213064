#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <string>
#include <utility>

#include "Backends/Portal/PortalCaptureStream.h"
#include "Backends/Portal/PortalErrors.h"
#include "Backends/Portal/PortalFacts.h"
#include "Backends/Portal/PortalPointer.h"
#include "Backends/Portal/PortalShare.h"
#include "Backends/Portal/RestoreTokens.h"
#include "Backends/Portal/ScreenCastSession.h"
#include "Backends/Portal/SessionBus.h"
#include "Backends/Streams/WakeUp.h"
#include "Platform/CaptureErrors.h"
#include "Platform/CaptureOpening.h"
#include "Platform/ErrorDomains.h"
#include "Platform/WindowSystem.h"
#include "Support/ModuleTable.h"

namespace glimto {

namespace {

// A portal may have to be started by the question.
constexpr std::chrono::seconds answerLimit{20};

constexpr std::uint32_t pickedDisplayID = 1; // of whatever the user picks

// Whether there is a portal that shares screens, without asking the user; the rest is what is known beside
// it.
class PortalScreenAccess final : public ScreenAccess {
public:
    explicit PortalScreenAccess(ScreenAccess& beside)
        : beside_(beside)
    {
    }

    ScreenCaptureAccess preflightScreenCaptureAccess() override
    {
        try {
            WakeUp wakeUp;
            SessionBus bus(wakeUp);
            const auto abilities = screenCastAbilities(bus, answerLimit);
            if (!abilities.has(PortalSourceKind::monitor) && !abilities.has(PortalSourceKind::window))
                return ScreenCaptureAccess::denied("The desktop portal of this session shares no screens.");
            return {.verdict = ScreenCaptureAccess::Verdict::onlyAskingTells, .obstacle = {}};
        } catch (const std::exception& error) {
            return ScreenCaptureAccess::denied(error.what());
        }
    }

    std::optional<std::int32_t> frontmostProcessID() override { return beside_.frontmostProcessID(); }
    std::optional<Point> cursorLocation() override { return beside_.cursorLocation(); }

    std::optional<std::uint32_t> displayIDAt(Point point) override
    {
        const auto known = beside_.displayIDAt(point);
        return known ? known : pickedDisplayID;
    }

private:
    ScreenAccess& beside_;
};

// The displays that are known beside the portal; where there are none, one of unknown size that stands for
// whatever the user picks. No windows: only the portal's dialog knows them.
class PortalContent final : public ShareableContentProvider {
public:
    explicit PortalContent(ShareableContentProvider& beside)
        : beside_(beside)
    {
    }

    ShareableContent fetch(const ContentQuery& query) override
    {
        ShareableContent content;
        try {
            content.displays = beside_.fetch(query).displays;
        } catch (const std::exception&) {
            // The portal needs nobody beside it.
        }
        if (content.displays.empty())
            content.displays = {{.displayID = pickedDisplayID, .frame = {}}};
        content.windowsObstacle = portalError(
            PortalFailure::untoldWindows, "Only the desktop's dialog knows which windows there are.");
        return content;
    }

private:
    ShareableContentProvider& beside_;
};

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
    return error.domain() == errorDomain::captureStream && error.code() == captureDeclinedErrorCode;
}

bool isRefusal(const PlatformError& error)
{
    return wasDeclined(error)
        || (error.domain() == errorDomain::portal
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

// Captures by the ScreenCast portal (org.freedesktop.portal.ScreenCast), whose dialog lets the user pick the
// screen or window. What was picked for a display or window is remembered, so that the user is asked once.
class PortalScreenCapture final : public ScreenCapture {
public:
    // `pointer` hears of the pointer while a capture is told of it.
    PortalScreenCapture(RestoreTokens tokens, std::shared_ptr<PortalPointer> pointer)
        : tokens_(std::move(tokens))
        , pointer_(std::move(pointer))
    {
    }

    std::shared_ptr<CaptureOpening> makeOpening(const CaptureRequest& request) override
    {
        return std::make_shared<PortalCaptureOpening>(request, tokens_, pointer_);
    }

private:
    RestoreTokens tokens_;
    std::shared_ptr<PortalPointer> pointer_;
};

// Captures by the desktop portal, which asks the user what to share. What the portal does not do, the window
// system beside it does as far as it can: it knows the displays, and has the clipboard.
class PortalWindowSystem final : public WindowSystem {
public:
    // `beside` outlives this.
    explicit PortalWindowSystem(WindowSystem& beside)
        : beside_(beside)
        , access_(beside.access())
        , content_(beside.content())
        , capture_(RestoreTokens(RestoreTokens::usualFile()), pointer_)
        , eventTaps_(pointer_)
    {
    }

    const char* name() const override { return "portal"; }

    WindowSystemCapabilities capabilities() const override
    {
        return {.listsWindows = false,
            .recordsWindows = true,
            .recordsCoveredWindows = true,
            .hidesApplications = false,
            .asksUser = true,
            .placesClicks = true,
            .hearsClicks = eventTaps_.hearsClicks()};
    }

    ScreenAccess& access() override { return access_; }
    ShareableContentProvider& content() override { return content_; }
    ScreenCapture& capture() override { return capture_; }
    EventTapFactory& eventTaps() override { return eventTaps_; }
    Pasteboard& pasteboard() override { return beside_.pasteboard(); }

private:
    WindowSystem& beside_;
    std::shared_ptr<PortalPointer> pointer_ = std::make_shared<PortalPointer>();
    PortalScreenAccess access_;
    PortalContent content_;
    PortalScreenCapture capture_;
    PortalEventTapFactory eventTaps_;
};

} // namespace

} // namespace glimto

extern "C" [[gnu::visibility("default")]] const glimto::ModuleTable* glimtoCaptureModule()
{
    using namespace glimto;
    return moduleTable<Provided<WindowSystem, PortalWindowSystem, WindowSystem>>();
}
