#include "Support/StopToken.h"

namespace glimto {

StopToken::StopToken()
    : isRequested_(std::make_shared<Guarded<bool, LockLevel::leaf>>(false))
{
}

void StopToken::requestStop() const
{
    isRequested_->change([](bool& isRequested) { isRequested = true; });
}

bool StopToken::isStopRequested() const
{
    return isRequested_->with([](bool isRequested) { return isRequested; });
}

bool StopToken::waitFor(std::chrono::nanoseconds duration) const
{
    return !isRequested_->waitFor(duration, [](bool isRequested) { return isRequested; });
}

} // namespace glimto
