#include "Backends/PulseAudio/PulseRecordStream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include <pulse/stream.h>

namespace glimto {

namespace {

constexpr std::chrono::milliseconds timingInterval(250);
// A server that delivers nothing is asked for an answer so often.
constexpr std::chrono::seconds longestUnprovenSilence(1);
// Whoever waits looks so often what state things are in.
constexpr std::chrono::milliseconds longestRest(500);
// What has been heard is mostly handed out with the next arrival; it is not worth a wake-up of its own
// sooner.
constexpr std::chrono::milliseconds deliverySlack(20);
constexpr std::chrono::milliseconds openingRest(10);

// By place in the order of mixing.
constexpr std::array channelOrder
    = {PA_CHANNEL_POSITION_FRONT_LEFT, PA_CHANNEL_POSITION_FRONT_RIGHT, PA_CHANNEL_POSITION_FRONT_CENTER,
        PA_CHANNEL_POSITION_LFE, PA_CHANNEL_POSITION_REAR_CENTER, PA_CHANNEL_POSITION_REAR_LEFT,
        PA_CHANNEL_POSITION_REAR_RIGHT, PA_CHANNEL_POSITION_SIDE_LEFT, PA_CHANNEL_POSITION_SIDE_RIGHT};

std::ptrdiff_t orderOf(pa_channel_position_t position)
{
    return std::find(channelOrder.begin(), channelOrder.end(), position) - channelOrder.begin();
}

HostClock::duration timeSince(const timeval& wallTime)
{
    return std::chrono::system_clock::now().time_since_epoch()
        - (std::chrono::seconds(wallTime.tv_sec) + std::chrono::microseconds(wallTime.tv_usec));
}

} // namespace

pa_channel_map recordedChannelMap(const PulseSource& source)
{
    pa_channel_map map = source.channelMap;
    const bool hasSides = pa_channel_map_can_balance(&map) != 0;
    if (source.isMonitor && map.channels > 2 && hasSides)
        return *pa_channel_map_init_stereo(&map);
    const auto end = map.map + map.channels;
    std::sort(map.map, end, [](auto a, auto b) { return orderOf(a) < orderOf(b); });
    const bool hasPlaces = std::all_of(map.map, end, [](auto position) {
        return orderOf(position) < std::ssize(channelOrder);
    }) && std::adjacent_find(map.map, end) == end;
    return hasPlaces ? map : source.channelMap;
}

PulseRecordStream::PulseRecordStream(PulseConnection& connection, const PulseSource& source,
    const PulseServerTiming& serverTiming, SteadySound::Output output)
    : connection_(connection)
    , source_(source)
    , serverTiming_(serverTiming)
    , map_(recordedChannelMap(source))
    , sound_(static_cast<int>(source.sampleSpec.rate), map_.channels, std::move(output))
    , silentSince_(HostClock::now())
{
    // Every sample type but 32-bit integers fits into float without loss, and resampling needs float.
    const pa_sample_spec sampleFormat
        = {.format = PA_SAMPLE_FLOAT32NE, .rate = source.sampleSpec.rate, .channels = map_.channels};
    PulsePropertiesHandle properties(pa_proplist_new());
    // PipeWire adds channels up without regard to what then is too loud, unless it is asked not to.
    pa_proplist_sets(properties.get(), "channelmix.normalize", "true");
    stream_.reset(
        pa_stream_new_with_proplist(connection.get(), "Recording", &sampleFormat, &map_, properties.get()));
    if (!stream_)
        throw connection.error("The sound server refuses to record from " + source.name);
    pa_stream_set_moved_callback(stream_.get(), &PulseRecordStream::onMoved, this);
    pa_stream_set_suspended_callback(stream_.get(), &PulseRecordStream::onSuspended, this);
    const auto fragment = static_cast<std::uint32_t>(
        pa_usec_to_bytes(static_cast<pa_usec_t>(serverTiming_.latency.count()), &sampleFormat));
    constexpr auto whatServerLikes = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr attributes = {.maxlength = whatServerLikes,
        .tlength = whatServerLikes,
        .prebuf = whatServerLikes,
        .minreq = whatServerLikes,
        .fragsize = fragment};
    const auto flags = static_cast<pa_stream_flags_t>(
        PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY | PA_STREAM_START_UNMUTED);
    if (pa_stream_connect_record(stream_.get(), source.name.c_str(), &attributes, flags) < 0)
        throw connection.error("The sound server refuses to record from " + source.name);
}

PulseRecordStream::State PulseRecordStream::state() const
{
    const auto state = pa_stream_get_state(stream_.get());
    if (state == PA_STREAM_CREATING || state == PA_STREAM_UNCONNECTED)
        return State::opening;
    if (state != PA_STREAM_READY || !connection_.isAlive())
        return State::ended;
    if (wasMoved_ || pa_stream_get_device_index(stream_.get()) != source_.index)
        return State::moved;
    const bool isOverdue = timing_.isAsked && !timing_.isAnswered
        && HostClock::now() - timing_.askedAt > PulseConnection::answerTimeout;
    return isOverdue ? State::hung : State::recording;
}

std::uint32_t PulseRecordStream::index() const
{
    return pa_stream_get_index(stream_.get());
}

// Not every server tells a stream itself that it was moved.
void PulseRecordStream::verifySource()
{
    if (state() != State::recording)
        return;
    // PipeWire names no source before it has joined both.
    const auto source = sourceOfPulseStream(connection_, index());
    if (source && source != PA_INVALID_INDEX && source != source_.index)
        wasMoved_ = true;
}

HostTime PulseRecordStream::work()
{
    const auto now = HostClock::now();
    if (state() != State::recording)
        return now + openingRest;
    if (std::exchange(wasSuspended_, false))
        sound_.didPause();
    takeTiming(now);
    if (takeSound(now))
        askForTiming(now, Timing::Purpose::clock);
    else if (now - silentSince_ > longestUnprovenSilence)
        askForTiming(now, Timing::Purpose::proofOfLife);
    sound_.deliver(now);
    const auto due = sound_.nextDelivery();
    return due < now + longestRest - deliverySlack ? due + deliverySlack : now + longestRest;
}

void PulseRecordStream::finish()
{
    work();
    sound_.deliver(HostClock::now());
}

void PulseRecordStream::takeTiming(HostTime now)
{
    if (!timing_.isAnswered)
        return;
    timingRequest_.reset();
    timing_.isAsked = timing_.isAnswered = false;
    if (timing_.isUsable && timing_.purpose == Timing::Purpose::clock) {
        sound_.observe(timing_.heardAt);
        isTimed_ = true;
    }
    if (timing_.purpose == Timing::Purpose::proofOfLife)
        timing_.nextAt = now + longestUnprovenSilence;
    else
        timing_.nextAt = sound_.isWaitingForReports() ? now : now + timingInterval;
}

// Whether anything came.
bool PulseRecordStream::takeSound(HostTime now)
{
    bool hasCome = false;
    while (pa_stream_readable_size(stream_.get()) > 0) {
        const void* data = nullptr;
        std::size_t size = 0;
        if (pa_stream_peek(stream_.get(), &data, &size) < 0 || size == 0)
            break;
        hasCome = true;
        silentSince_ = now;
        const bool wasWaiting = sound_.isWaitingForReports();
        if (data)
            sound_.append({static_cast<const float*>(data), size / sizeof(float)}, now);
        else
            sound_.appendSilence(size / sizeof(float) / map_.channels, now);
        pa_stream_drop(stream_.get());
        if ((!wasWaiting && sound_.isWaitingForReports()) || timing_.purpose == Timing::Purpose::proofOfLife)
            timing_.nextAt = now;
    }
    return hasCome;
}

// For the clock only when sound has just come: sources that hand on whole blocks and know nothing of their
// own delay report the time since the last block as if it were part of it.
void PulseRecordStream::askForTiming(HostTime now, Timing::Purpose purpose)
{
    if (timing_.isAsked || now < timing_.nextAt)
        return;
    timingRequest_.reset(pa_stream_update_timing_info(stream_.get(), &PulseRecordStream::onTiming, this));
    timing_.isAsked = timingRequest_ != nullptr;
    timing_.askedAt = now;
    timing_.purpose = purpose;
}

void PulseRecordStream::onTiming(pa_stream*, int success, void* self)
{
    static_cast<PulseRecordStream*>(self)->didGetTiming(success != 0);
}

// Called before the sound that arrived behind the answer is taken in: the library counts that out itself.
void PulseRecordStream::didGetTiming(bool success)
{
    timing_.isAnswered = true;
    timing_.isUsable = false;
    const pa_timing_info* const info = pa_stream_get_timing_info(stream_.get());
    if (!success || !info || info->read_index_corrupt != 0 || info->write_index_corrupt != 0)
        return;
    // The server looked at its clocks between our question and now; its wall clock tells when, unless one
    // was set meanwhile.
    const auto now = HostClock::now();
    const auto age = std::clamp(timeSince(info->timestamp), HostClock::duration(0), now - timing_.askedAt);
    const auto waiting = std::max<std::int64_t>(0, info->write_index - info->read_index);
    const auto inServer
        = pa_bytes_to_usec(static_cast<std::uint64_t>(waiting), pa_stream_get_sample_spec(stream_.get()));
    // What a monitor hears is played only later.
    std::chrono::microseconds delay(static_cast<std::int64_t>(inServer)
        + static_cast<std::int64_t>(info->source_usec) - static_cast<std::int64_t>(info->sink_usec));
    if (source_.isMonitor)
        delay -= serverTiming_.unreportedMonitorDelay;
    timing_.heardAt = now - age - delay;
    timing_.isUsable = true;
}

void PulseRecordStream::onMoved(pa_stream*, void* self)
{
    static_cast<PulseRecordStream*>(self)->wasMoved_ = true;
}

void PulseRecordStream::onSuspended(pa_stream*, void* self)
{
    static_cast<PulseRecordStream*>(self)->wasSuspended_ = true;
}

} // namespace glimto
