#include "Backends/PulseAudio/AudioClockModel.h"

#include <algorithm>
#include <cmath>

namespace glimto {

namespace {

constexpr double second = 1e9;
constexpr double millisecond = 1e6;

// So many reports that agree to so much make a lock; after so many, their median does anyway.
constexpr std::size_t reportsToLock = 3;
constexpr double agreement = 4 * millisecond;
constexpr std::size_t mostReportsToLock = 12;
constexpr std::chrono::milliseconds longestReacquiring(150);
// A pause after which sound lies this close to where it was expected is none.
constexpr double jumpTolerance = 20 * millisecond;
// Farther from the arrivals than this, a report after a pause is wrong.
constexpr double plausibleDistance = 60 * millisecond;

constexpr double doubtfulError = 15 * millisecond;
constexpr std::size_t rememberedErrors = 9;
// An error of this size that the most of the remembered reports share is no drift: the line jumps.
constexpr double stepSize = 30 * millisecond;
constexpr double stepAgreement = 10 * millisecond;
constexpr std::size_t reportsForStep = 5;

// The line follows the reports as a critically damped loop of this time constant, in seconds: quickly at
// first, then so slowly that jitter does not show.
constexpr double shortestTimeConstant = 2;
constexpr double longestTimeConstant = 15;
constexpr double damping = 0.8;
constexpr double largestDrift = 0.005;
constexpr double largestCorrection = 0.002; // 3.5 cents
constexpr double longestStep = 2; // seconds between reports that count

constexpr std::chrono::seconds arrivalDelayPeriod(5);

double nanoseconds(HostTime time)
{
    return static_cast<double>(time.time_since_epoch().count());
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

AudioClockModel::AudioClockModel(int sampleRate)
    : nanosecondsPerFrame_(second / sampleRate)
{
    errors_.reserve(rememberedErrors + 1);
    candidates_.reserve(mostReportsToLock);
}

HostTime AudioClockModel::hostTime(double frame) const
{
    return HostTime(HostClock::duration(std::llround(line(frame))));
}

double AudioClockModel::frameAt(HostTime time) const
{
    return anchorFrame_ + (nanoseconds(time) - anchorTime_) / (nanosecondsPerFrame_ * slope_);
}

void AudioClockModel::didRead(double frame)
{
    anchorTime_ = line(frame);
    anchorFrame_ = frame;
}

void AudioClockModel::observe(std::int64_t frame, HostTime time)
{
    const Report report{frame, nanoseconds(time)};
    if (isLocked_)
        return follow(report);
    if (!isPlausible(report))
        return;
    candidates_.push_back(report);
    lockOnReports();
}

void AudioClockModel::didArrive(std::int64_t endFrame, HostTime now)
{
    if (isLocked_)
        return noteArrivalDelay(endFrame, now);
    const double offset = nanoseconds(now) - nominal(static_cast<double>(endFrame));
    arrivalOffset_ = std::min(arrivalOffset_.value_or(offset), offset);
    if (!firstArrival_)
        firstArrival_ = now;
    const auto usual = usualArrivalDelay();
    if (usual && now - *firstArrival_ >= longestReacquiring)
        lock(*arrivalOffset_ - *usual, LockedOn::arrivals);
}

void AudioClockModel::reacquire()
{
    isLocked_ = false;
    candidates_.clear();
    arrivalOffset_.reset();
    firstArrival_.reset();
}

void AudioClockModel::lockOnReports()
{
    std::vector<double> offsets;
    for (const auto& candidate : candidates_)
        offsets.push_back(candidate.hostTime - nominal(static_cast<double>(candidate.frame)));
    if (offsets.size() < reportsToLock)
        return;
    const auto newest = std::minmax_element(offsets.end() - reportsToLock, offsets.end());
    if (*newest.second - *newest.first <= agreement)
        return lock(median({offsets.end() - reportsToLock, offsets.end()}), LockedOn::reports);
    if (offsets.size() >= mostReportsToLock)
        lock(median(offsets), LockedOn::reports);
}

// `offset`: the time of frame 0 for a device without drift.
void AudioClockModel::lock(double offset, LockedOn evidence)
{
    const double time = offset + nominal(anchorFrame_);
    if (!wasLocked_ || std::abs(time - anchorTime_) > jumpTolerance) {
        anchorTime_ = time;
        ++run_;
    }
    slope_ = 1 + drift_;
    isInDoubt_ = false;
    errors_.clear();
    lastReportTime_.reset();
    if (evidence == LockedOn::reports)
        candidates_.clear();
    isLocked_ = wasLocked_ = true;
}

void AudioClockModel::follow(const Report& report)
{
    errors_.push_back(report.hostTime - line(static_cast<double>(report.frame)));
    isInDoubt_ = std::abs(errors_.back()) > doubtfulError;
    if (errors_.size() > rememberedErrors)
        errors_.erase(errors_.begin());
    const double elapsed = lastReportTime_ ? (report.hostTime - *lastReportTime_) / second : 0;
    lastReportTime_ = report.hostTime;
    if (!jumpIfReportsStay())
        steer(median(errors_), std::clamp(elapsed, 0.0, longestStep));
}

// True when the reports are too far off to be followed slowly.
bool AudioClockModel::jumpIfReportsStay()
{
    const double error = median(errors_);
    const auto isNear = [&](double other) { return std::abs(other - error) <= stepAgreement; };
    const auto agreeing = static_cast<std::size_t>(std::count_if(errors_.begin(), errors_.end(), isNear));
    if (std::abs(error) <= stepSize)
        return false;
    slope_ = 1 + drift_;
    if (agreeing >= reportsForStep) {
        anchorTime_ += error;
        errors_.clear();
        arrivalDelay_ = {}; // of the old line
        isInDoubt_ = false;
        ++run_;
    }
    return true;
}

void AudioClockModel::steer(double error, double elapsed)
{
    followedFor_ += elapsed;
    const double timeConstant = std::clamp(followedFor_ / 3, shortestTimeConstant, longestTimeConstant);
    const double seconds = error / second;
    const double correction = 2 * damping * seconds / timeConstant;
    // An error that takes long to mend tells of a step, not of drift.
    if (std::abs(correction) <= largestCorrection)
        drift_ += seconds * elapsed / (timeConstant * timeConstant);
    drift_ = std::clamp(drift_, -largestDrift, largestDrift);
    slope_ = 1 + drift_ + std::clamp(correction, -largestCorrection, largestCorrection);
}

void AudioClockModel::noteArrivalDelay(std::int64_t endFrame, HostTime now)
{
    const double delay = nanoseconds(now) - line(static_cast<double>(endFrame));
    auto& seen = arrivalDelay_;
    if (!seen.current)
        seen.began = now;
    if (seen.current && now - seen.began >= arrivalDelayPeriod) {
        seen.previous = seen.current;
        seen.current.reset();
        seen.began = now;
    }
    seen.current = std::min(seen.current.value_or(delay), delay);
}

std::optional<double> AudioClockModel::usualArrivalDelay() const
{
    if (!arrivalDelay_.previous || !arrivalDelay_.current)
        return arrivalDelay_.current;
    return std::min(*arrivalDelay_.current, *arrivalDelay_.previous);
}

bool AudioClockModel::isPlausible(const Report& report) const
{
    const auto usual = usualArrivalDelay();
    if (!usual || !arrivalOffset_)
        return !usual;
    const double expected = *arrivalOffset_ - *usual + nominal(static_cast<double>(report.frame));
    return std::abs(report.hostTime - expected) <= plausibleDistance;
}

} // namespace glimto
