#include "Composition/UnavailableWindowSystem.h"

#include <utility>

#include "Platform/CaptureErrors.h"
#include "Platform/ErrorDomains.h"

namespace glimto {

namespace {

PlatformError unavailable(const std::string& reason)
{
    return {errorDomain::windowSystem, noWindowSystemErrorCode, reason};
}

class RefusedOpening final : public CaptureOpening {
public:
    explicit RefusedOpening(std::string reason)
        : reason_(std::move(reason))
    {
    }
    OpenedCapture open() override { throw unavailable(reason_); }
    void giveUp() noexcept override { }

private:
    std::string reason_;
};

} // namespace

WindowSystemCapabilities UnavailableWindowSystem::capabilities() const
{
    return {.listsWindows = false,
        .recordsWindows = false,
        .recordsCoveredWindows = false,
        .hidesApplications = false,
        .asksUser = false,
        .placesClicks = false};
}

ShareableContent UnavailableWindowSystem::fetch(const ContentQuery&)
{
    throw unavailable(reason_);
}

std::shared_ptr<CaptureOpening> UnavailableWindowSystem::makeOpening(const CaptureRequest&)
{
    return std::make_shared<RefusedOpening>(reason_);
}

} // namespace glimto
