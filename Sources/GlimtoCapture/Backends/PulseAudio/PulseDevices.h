#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <pulse/channelmap.h>
#include <pulse/sample.h>

#include "Backends/PulseAudio/PulseConnection.h"

namespace glimto {

// What sound can be recorded from: a microphone, or the monitor of an output.
struct PulseSource {
    std::uint32_t index = 0; // another one when the same device comes back
    std::string name;
    std::string description; // for people
    pa_sample_spec sampleSpec = {};
    pa_channel_map channelMap = {};
    bool isMonitor = false;
};

// Where sound is played.
struct PulseSink {
    std::uint32_t index = 0;
    std::string name;
    std::string monitorName;
};

// How a server is best asked for sound.
struct PulseServerTiming {
    // Between hearing and delivery; the smaller, the more work for the server.
    std::chrono::microseconds latency{0};

    // How long after it is delivered the sound of an output is played, where the server does not tell.
    std::chrono::microseconds unreportedMonitorDelay{0};
};

// All of these throw PlatformError when the server does not answer.

std::vector<PulseSource> listPulseSources(PulseConnection& connection);

// The source with exactly this name; the server's own short forms ("@DEFAULT_SOURCE@", "3") name none.
std::optional<PulseSource> findPulseSource(PulseConnection& connection, const std::string& name);

PulseServerTiming pulseServerTiming(PulseConnection& connection);

// The index of the source that a recording stream takes its sound from at present; none when the server knows
// no such stream.
std::optional<std::uint32_t> sourceOfPulseStream(PulseConnection& connection, std::uint32_t streamIndex);

// Where programs play unless told otherwise; none when there is no output at all.
std::optional<PulseSink> defaultPulseSink(PulseConnection& connection);

} // namespace glimto
