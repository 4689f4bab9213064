#pragma once

#include <cstdint>
#include <string>

#include "Backends/PulseAudio/PulseConnection.h"
#include "Backends/PulseAudio/PulseDevices.h"
#include "Backends/PulseAudio/SteadySound.h"
#include "Support/HostClock.h"

namespace glimto {

// One stream that records from one source and from no other.
//
// Calls are made between iterations of the connection's loop; that is where sound is handed out, too.
class PulseRecordStream {
public:
    // Asks the server for the stream. Throws PlatformError when it refuses at once. The connection outlives
    // the stream.
    PulseRecordStream(PulseConnection& connection, const PulseSource& source,
        const PulseServerTiming& serverTiming, SteadySound::Output output);

    PulseRecordStream(const PulseRecordStream&) = delete;
    PulseRecordStream& operator=(const PulseRecordStream&) = delete;

    // Something about a stream has changed, perhaps this one: looks whether it still records its source.
    void verifySource();
    std::uint32_t index() const;

    // Takes in what has arrived and asks the server for its timing when that is due. Returns the host time
    // at which to come again even if nothing arrives.
    HostTime work();

    // Hands out what is left and has been heard by now.
    void finish();

    enum class State {
        opening,
        recording,
        ended, // by the server, or as the connection broke
        moved, // the server made it record another device
        hung, // the server has not answered for five seconds
    };
    State state() const;

    bool hasArrived() const { return sound_.appendedFrames() > 0; }

    // Whether the server has told when some of it was heard: all of it will be delivered at its right time.
    bool isTimed() const { return isTimed_; }

    // Since when nothing has come.
    HostTime silentSince() const { return silentSince_; }

    std::uint32_t sourceIndex() const { return source_.index; }

private:
    struct Timing {
        enum class Purpose { clock, proofOfLife };

        Purpose purpose = Purpose::clock;
        bool isAsked = false;
        bool isAnswered = false;
        HostTime askedAt = {};
        HostTime nextAt = {};
        HostTime heardAt = {}; // the next frame to be read
        bool isUsable = false;
    };

    void takeTiming(HostTime now);
    bool takeSound(HostTime now);
    void askForTiming(HostTime now, Timing::Purpose purpose);
    void didGetTiming(bool success);

    static void onTiming(pa_stream* stream, int success, void* self);
    static void onMoved(pa_stream* stream, void* self);
    static void onSuspended(pa_stream* stream, void* self);

    PulseConnection& connection_;
    const PulseSource source_;
    const PulseServerTiming serverTiming_;
    const pa_channel_map map_; // of what is recorded
    SteadySound sound_;
    Timing timing_;
    HostTime silentSince_;
    bool isTimed_ = false;
    bool wasMoved_ = false;
    bool wasSuspended_ = false;
    PulseStreamHandle stream_;
    PulseOperationHandle timingRequest_; // after the stream: cancelled first
};

// The channels in which a source is recorded: those that it has, left first, or as it has them when they have
// no places around a listener. Of a monitor with more than two and a left and a right, two are asked for: the
// server has spread stereo sound over all of them and knows best how to bring it back.
pa_channel_map recordedChannelMap(const PulseSource& source);

} // namespace glimto
