#include <cstdint>
#include <string>
#include <utility>

#include "Backends/PulseAudio/PulseAudioInput.h"
#include "Support/Errors.h"
#include "Support/HostClock.h"

namespace glimto {

namespace {

constexpr std::chrono::seconds retryInterval(1);
constexpr int mostMisses = 3; // in a row: no output is known

const char* const outputChanged
    = "the sound output changed; system audio follows the new one, what was played in between is missing";
const char* const serverGone = "the sound server stopped; system audio is silent until it is back";

class PulseSystemAudioInput final : public PulseAudioInput {
public:
    PulseSystemAudioInput()
        : PulseAudioInput("glimto.capture.system-audio")
    {
    }

    ~PulseSystemAudioInput() override { stop(); }

private:
    void run() override
    {
        began_ = HostClock::now();
        while (!loop().mustEnd()) {
            try {
                PulseConnection connection(loop());
                recordOutputs(connection);
            } catch (const PlatformError&) {
                // The server is away, or on its way out or in.
            }
            if (!hasStarted())
                return;
            if (!loop().mustEnd())
                interrupt(serverGone);
            pause();
        }
        deliverSilenceIfNothingCame();
    }

    // Returns when the connection is of no use any more.
    void recordOutputs(PulseConnection& connection)
    {
        watchDevices(connection);
        int misses = 0;
        // PipeWire may tell a client that saw an output go nothing of the next one; it tells a new client.
        while (!loop().mustEnd() && connection.isAlive() && misses < mostMisses) {
            clearOutputsChanged();
            const auto sink = defaultPulseSink(connection);
            const auto source = sink ? findPulseSource(connection, sink->monitorName) : std::nullopt;
            misses = source ? 0 : misses + 1;
            bool isFruitless = true;
            if (source) {
                const auto stream = openStream(connection, *source);
                record(connection, *stream, sink->name);
                if (stream->state() == PulseRecordStream::State::hung)
                    return;
                stream->finish();
                isFruitless = !stream->hasArrived();
            }
            if (!hasStarted() || loop().mustEnd() || !connection.isAlive())
                return;
            interrupt(outputChanged);
            if (isFruitless)
                waitForOutputs(connection);
        }
    }

    // Returns when this is no longer what is to be recorded.
    void record(PulseConnection& connection, PulseRecordStream& stream, const std::string& sinkName)
    {
        while (!loop().mustEnd() && connection.isAlive() && !isRemoved(stream.sourceIndex())) {
            const HostTime next = work(stream);
            const auto state = stream.state();
            if (state != PulseRecordStream::State::opening && state != PulseRecordStream::State::recording)
                return;
            lookAtStart(stream);
            // PipeWire leaves a stream unfinished for ever whose output went while it was made.
            if (hasStarted() && state == PulseRecordStream::State::opening
                && HostClock::now() - stream.silentSince() > PulseConnection::answerTimeout)
                return;
            if (outputsChanged()) {
                clearOutputsChanged();
                const auto sink = defaultPulseSink(connection);
                if (!sink || sink->name != sinkName)
                    return;
            }
            loop().iterate(next);
        }
    }

    void lookAtStart(const PulseRecordStream& stream)
    {
        if (hasStarted())
            return;
        // From then on the server keeps what is played, so nobody has to wait for the first of it. An output
        // on which nothing is played may deliver nothing.
        if (stream.state() == PulseRecordStream::State::recording)
            didStart(AudioInputStart::running);
        else if (HostClock::now() - began_ > PulseConnection::answerTimeout)
            didStart(AudioInputStart::notRunning);
    }

    void waitForOutputs(PulseConnection& connection)
    {
        const auto isWorthATry = [&] { return outputsChanged() || !connection.isAlive(); };
        loop().wait(isWorthATry, HostClock::now() + retryInterval);
    }

    void interrupt(const std::string& description)
    {
        if (!std::exchange(wasInterrupted_, true) && handlers().onInterrupted)
            handlers().onInterrupted(description);
    }

    void pause()
    {
        loop().wait([] { return false; }, HostClock::now() + retryInterval);
    }

    HostTime began_;
    bool wasInterrupted_ = false;
};

} // namespace

std::unique_ptr<AudioInput> makePulseSystemAudioInput()
{
    return std::make_unique<PulseSystemAudioInput>();
}

} // namespace glimto
