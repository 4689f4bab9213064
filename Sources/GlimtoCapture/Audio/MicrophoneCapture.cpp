#include "Audio/MicrophoneCapture.h"

#include <exception>
#include <utility>

#include "Support/Errors.h"
#include "Support/Text.h"

namespace glimto {

namespace {

// For whoever mistyped an id. That it cannot be told changes nothing.
void tellDevices(AudioInputFactory& inputs, LineOutput& standardError)
{
    try {
        const auto devices = inputs.microphones();
        if (devices.empty())
            standardError.writeLine(
                "No microphone was found. Other sources of sound can be recorded by their id as well.");
        for (const auto& device : devices)
            standardError.writeLine(
                singleLine("Available microphone: " + device.id + " (" + device.name + ")"));
    } catch (const std::exception&) {
        return;
    }
}

} // namespace

void MicrophoneCapture::requireAccess(AudioInputFactory& inputs)
{
    const auto access = inputs.microphoneAccess();
    if (access == AudioInputAccess::granted)
        return;
    if (access == AudioInputAccess::notDetermined && inputs.requestMicrophoneAccess())
        return;
    throw CLIError("Microphone access is denied. Allow Glimto in System Settings > Privacy & Security > "
                   "Microphone.");
}

AudioInputDevice MicrophoneCapture::requireDevice(
    const std::string& deviceID, AudioInputFactory& inputs, LineOutput& standardError)
{
    auto device = inputs.microphone(deviceID);
    if (!device) {
        tellDevices(inputs, standardError);
        throw CLIError("Microphone " + deviceID + " was not found. Choose another microphone and try again.");
    }
    return *std::move(device);
}

MicrophoneCapture::MicrophoneCapture(const AudioInputDevice& device, AudioInputFactory& inputs)
    : device_(device)
    , input_(inputs.makeMicrophoneInput(device))
{
    if (!input_)
        throw CLIError("The microphone " + device_.name + " could not be added to the capture session.");
}

MicrophoneCapture::~MicrophoneCapture()
{
    stop();
}

void MicrophoneCapture::begin()
{
    input_->begin(handlers());
    state_.with([](State& state) { state.hasBegun = true; });
}

bool MicrophoneCapture::isReadyWithin(std::chrono::nanoseconds limit)
{
    return input_->isStartKnownWithin(limit);
}

void MicrophoneCapture::start(std::shared_ptr<AudioMixer> mixer)
{
    if (!state_.with([](const State& state) { return state.hasBegun; }))
        begin();
    const auto outcome = input_->awaitStart();
    if (outcome != AudioInputStart::running) {
        state_.with([](State& state) { state.hasBegun = false; });
        input_->stop();
        throw CLIError(outcome == AudioInputStart::noClock ? "The microphone capture clock is unavailable."
                                                           : "The microphone did not start.");
    }
    state_.with([&](State& state) { state.mixer = std::move(mixer); });
}

AudioInput::Handlers MicrophoneCapture::handlers()
{
    return {
        .onBuffer = [this](const AudioBuffer& buffer) { didOutputBuffer(buffer); },
        .onDisconnected = [this] { recordFailure(device_.name + " disconnected"); },
        .onFailed =
            [this](const std::string& description) {
                recordFailure(description.empty() ? "capture session error" : description);
            },
        // Microphones are never interrupted: they run or they fail.
        .onInterrupted = {},
    };
}

void MicrophoneCapture::didOutputBuffer(const AudioBuffer& buffer)
{
    const auto mixer = state_.with([](const State& state) { return state.mixer; });
    if (mixer && buffer.presentationTime.isValid())
        mixer->append(buffer, AudioMixerSource::microphone, buffer.presentationTime);
}

void MicrophoneCapture::recordFailure(const std::string& text)
{
    state_.with([&](State& state) {
        if (!state.failure && !state.isStopped)
            state.failure = text;
    });
}

void MicrophoneCapture::stop()
{
    const bool mustStop = state_.with([](State& state) {
        state.isStopped = true;
        return std::exchange(state.hasBegun, false);
    });
    // The input waits for a handler that is running.
    if (mustStop)
        input_->stop();
}

std::optional<std::string> MicrophoneCapture::failure() const
{
    return state_.with([](const State& state) { return state.failure; });
}

} // namespace glimto
