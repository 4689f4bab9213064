#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Backends/PulseAudio/PulseConnection.h"
#include "Backends/PulseAudio/PulseRecordStream.h"
#include "Platform/AudioInput.h"
#include "Support/FirstOutcome.h"
#include "Support/NamedThread.h"
#include "Support/HostClock.h"

namespace glimto {

// What microphones and system audio share: a thread that talks to the sound server and calls the handlers.
class PulseAudioInput : public AudioInput {
public:
    // `threadLabel` names the thread in debuggers and outlives the input.
    explicit PulseAudioInput(const char* threadLabel);

    void begin(Handlers handlers) final;
    bool isStartKnownWithin(std::chrono::nanoseconds limit) final;
    AudioInputStart awaitStart() final;
    void stop() final;

protected:
    // Derived classes stop() in their destructors: the thread uses them.
    ~PulseAudioInput() override;

    // The life of the thread. Returns when the loop must end or the input is over. What it throws before
    // didStart() lets the start fail; afterwards it is a failure of the input.
    virtual void run() = 0;

    PulseMainloop& loop() { return loop_; }
    const Handlers& handlers() const { return handlers_; }

    // Lets awaitStart() return; only the first call counts.
    void didStart(AudioInputStart outcome);
    bool hasStarted() const { return hasStarted_; }

    // Sound that goes to the handlers.
    std::unique_ptr<PulseRecordStream> openStream(PulseConnection& connection, const PulseSource& source);

    // For an input that ends well and from which nothing ever came, as from the monitor of an output on which
    // nothing is played: hands on the silence that it has heard.
    void deliverSilenceIfNothingCame();

    // Watches devices come, go and change, from now on.
    void watchDevices(PulseConnection& connection);

    // Whether the default output may have changed, or `source` has gone, since watchDevices().
    bool outputsChanged() const { return outputsChanged_; }
    void clearOutputsChanged() { outputsChanged_ = false; }
    bool isRemoved(std::uint32_t source) const { return removedSource_ == source; }

    // Looks after `stream` when the server has changed streams, then lets it work as
    // PulseRecordStream::work().
    HostTime work(PulseRecordStream& stream);

private:
    void runGuarded();
    static void onDeviceEvent(pa_context* context, int event, std::uint32_t index, void* self);

    const char* const threadLabel_;
    PulseMainloop loop_;
    Handlers handlers_;
    FirstOutcome<AudioInputStart> started_;
    bool hasStarted_ = false; // on the thread
    bool outputsChanged_ = false;
    std::optional<std::uint32_t> watchedSource_;
    std::optional<std::uint32_t> removedSource_;
    bool streamsChanged_ = false; // of anybody
    std::optional<HostTime> listensSince_;
    bool hasDelivered_ = false;
    std::unique_ptr<NamedThread> thread_;
};

// One source by its name, and never another one: when it goes, or the server lets the stream record something
// else, the input has ended.
std::unique_ptr<AudioInput> makePulseMicrophoneInput(std::string sourceName);

// What is played on the default output, whichever that is at the time: recorded from its monitor.
//
// When the default output changes or goes, recording goes on from the new one; when the server goes, it is
// looked for once a second until it is back.
std::unique_ptr<AudioInput> makePulseSystemAudioInput();

} // namespace glimto
