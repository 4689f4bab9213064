#include <utility>

#include <pulse/context.h>
#include <pulse/def.h>

#include "Backends/PulseAudio/PulseAudioInput.h"
#include "Support/Errors.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

// Bluetooth devices and sleeping cards take their time.
constexpr std::chrono::seconds firstSoundTimeout(5);
// The monitor of an output may deliver only when something is played.
constexpr std::chrono::milliseconds monitorPatience(500);
constexpr std::chrono::seconds longestSilence(10);

class PulseMicrophoneInput final : public PulseAudioInput {
public:
    explicit PulseMicrophoneInput(std::string sourceName)
        : PulseAudioInput("glimto.capture.microphone")
        , sourceName_(std::move(sourceName))
    {
    }

    ~PulseMicrophoneInput() override { stop(); }

private:
    enum class End { removed, failed };

    void run() override
    {
        PulseConnection connection(loop());
        watchDevices(connection);
        const auto source = findPulseSource(connection, sourceName_);
        if (!source)
            return;
        const auto stream = openStream(connection, *source);
        record(connection, *stream, source->isMonitor);
        if (loop().mustEnd() || !hasStarted()) {
            stream->finish();
            if (source->isMonitor)
                deliverSilenceIfNothingCame();
            return;
        }
        if (const auto reason = whyItEnded(connection, *stream)) {
            if (handlers().onFailed)
                handlers().onFailed(*reason);
        } else if (handlers().onDisconnected) {
            handlers().onDisconnected();
        }
    }

    // Returns when no more sound comes from this device.
    void record(PulseConnection& connection, PulseRecordStream& stream, bool isMonitor)
    {
        const auto began = HostClock::now();
        while (!loop().mustEnd() && connection.isAlive() && !isRemoved(stream.sourceIndex())) {
            const HostTime next = work(stream);
            const auto state = stream.state();
            if (state != PulseRecordStream::State::opening && state != PulseRecordStream::State::recording)
                return;
            if (!hasStarted() && !lookAtStart(stream, isMonitor, began))
                return;
            if (!isMonitor && HostClock::now() - stream.silentSince() > longestSilence)
                return;
            loop().iterate(next);
        }
    }

    // False when it is clear that the input will not run.
    bool lookAtStart(const PulseRecordStream& stream, bool isMonitor, HostTime began)
    {
        const auto passed = HostClock::now() - began;
        const bool isReady = stream.state() == PulseRecordStream::State::recording;
        if (stream.isTimed() || (isMonitor && isReady && !stream.hasArrived() && passed > monitorPatience))
            didStart(AudioInputStart::running);
        else if (passed > firstSoundTimeout) {
            didStart(stream.hasArrived() ? AudioInputStart::noClock : AudioInputStart::notRunning);
            return false;
        }
        return true;
    }

    // Nothing when the device has gone.
    std::optional<std::string> whyItEnded(PulseConnection& connection, const PulseRecordStream& stream) const
    {
        if (isRemoved(stream.sourceIndex()))
            return std::nullopt;
        if (!connection.isAlive())
            return "the sound server has gone";
        switch (stream.state()) {
        case PulseRecordStream::State::hung:
            return "the sound server does not answer";
        case PulseRecordStream::State::opening:
        case PulseRecordStream::State::recording:
            return "the sound server delivers no sound from it";
        case PulseRecordStream::State::ended:
        case PulseRecordStream::State::moved:
            break;
        }
        // The stream may end before its device is reported as gone.
        const auto source = findPulseSource(connection, sourceName_);
        if (!source || source->index != stream.sourceIndex())
            return std::nullopt;
        return stream.state() == PulseRecordStream::State::moved
            ? "the sound server switched the recording to another device"
            : "the sound server ended the recording";
    }

    const std::string sourceName_;
};

} // namespace

std::unique_ptr<AudioInput> makePulseMicrophoneInput(std::string sourceName)
{
    return std::make_unique<PulseMicrophoneInput>(std::move(sourceName));
}

} // namespace glimto
