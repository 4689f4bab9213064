#include "Backends/X11/Pictures/X11FramePacer.h"

#include <algorithm>

namespace glimto {

namespace {

// A little less than 1/60 s and 1/15 s, so that points of a grid are not missed by their jitter.
constexpr std::chrono::milliseconds pollInterval(16);
constexpr std::chrono::milliseconds restingPollInterval(66);

// How long nothing has to change for a screen to be at rest.
constexpr std::chrono::seconds timeToRest(1);

} // namespace

X11FramePacer::X11FramePacer(MediaTime interval, PointerPolling polling)
    : grid_(interval)
    , polling_(polling)
{
}

X11FramePacer::Step X11FramePacer::next(HostTime now, bool hasChanges)
{
    if (!hasBegun_)
        return {Action::grab, now};

    HostTime until = repeatDue_;
    if (hasChanges) {
        if (!changeDue_)
            changeDue_ = std::max(grid_.pointAtOrAfter(now), grid_.pointAfter(lastTick_));
        if (now >= *changeDue_)
            return {Action::grab, now};
        until = std::min(until, *changeDue_);
    }
    if (polling_ == PointerPolling::on) {
        if (!pollDue_) {
            const bool isAtRest = now - lastNewPicture_ > timeToRest;
            pollDue_ = grid_.pointAtOrAfter(
                std::max(now, lastTick_ + (isAtRest ? restingPollInterval : pollInterval)));
        }
        if (now >= *pollDue_)
            return {Action::pollPointer, now};
        until = std::min(until, *pollDue_);
    }
    if (now >= repeatDue_)
        return {Action::repeat, now};
    return {Action::wait, until};
}

void X11FramePacer::didTick(HostTime now)
{
    if (!hasBegun_) {
        hasBegun_ = true;
        grid_.begin(now);
        repeatDue_ = grid_.pointAfter(now);
    }
    lastTick_ = now;
    changeDue_.reset();
    pollDue_.reset();
}

void X11FramePacer::didDeliver(HostTime now, Delivery delivery)
{
    if (delivery == Delivery::newPicture)
        lastNewPicture_ = now;
    const auto rest = delivery == Delivery::newPicture ? firstRepetitionAfter : nextRepetitionAfter;
    repeatDue_ = std::max(grid_.pointAtOrBefore(now + rest), grid_.pointAfter(now));
}

} // namespace glimto
