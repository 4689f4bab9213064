#pragma once

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Fakes/AudioSamples.h"
#include "Platform/AudioInput.h"

namespace glimto {

// An input whose sound the test delivers, and which outlives its input object as a record.
struct FakeAudioInputState {
    // How it behaves.
    std::exception_ptr makeError;
    bool isMissing = false; // none can be made
    AudioInputStart outcome = AudioInputStart::running;
    std::exception_ptr beginError;
    bool isStartKnown = true; // false: it hangs
    std::function<void()> onStart; // runs within awaitStart(), when sound may come already
    std::function<void()> onStop; // runs within stop(); may hang

    // What happened.
    std::optional<AudioInputDevice> device;
    std::optional<SystemAudioConfiguration> configuration;
    int begins = 0;
    int looks = 0; // for its start
    int starts = 0; // awaited
    int stops = 0;
    bool isAlive = false;

    // Sound reaches nobody before the start and after the stop.
    void deliver(const AudioBuffer& buffer)
    {
        with([&](const AudioInput::Handlers& current) { current.onBuffer(buffer); });
    }

    // A tenth of a second of stereo at 48000 Hz whose samples all have this value.
    void deliverTone(MediaTime time, float value = 0.25F)
    {
        const AudioSamples samples(
            {48000, 2, AudioSampleType::float32, AudioLayout::interleaved}, 4800, {value, value});
        AudioBuffer buffer = samples.buffer();
        buffer.presentationTime = time;
        deliver(buffer);
    }

    void disconnect()
    {
        with([](const AudioInput::Handlers& current) { current.onDisconnected(); });
    }

    void fail(const std::string& description)
    {
        with([&](const AudioInput::Handlers& current) { current.onFailed(description); });
    }

    void interrupt(const std::string& description)
    {
        with([&](const AudioInput::Handlers& current) { current.onInterrupted(description); });
    }

    std::recursive_mutex mutex; // a stop waits for a handler that runs
    std::optional<AudioInput::Handlers> handlers;

private:
    template <typename Function> void with(Function&& function)
    {
        const std::lock_guard lock(mutex);
        if (handlers)
            function(*handlers);
    }
};

class FakeAudioInput final : public AudioInput {
public:
    explicit FakeAudioInput(std::shared_ptr<FakeAudioInputState> state)
        : state_(std::move(state))
    {
        state_->isAlive = true;
    }
    ~FakeAudioInput() override
    {
        const std::lock_guard lock(state_->mutex);
        state_->handlers.reset();
        state_->isAlive = false;
    }

    void begin(Handlers handlers) override
    {
        if (state_->beginError)
            std::rethrow_exception(state_->beginError);
        const std::lock_guard lock(state_->mutex);
        ++state_->begins;
        state_->handlers = std::move(handlers);
    }

    bool isStartKnownWithin(std::chrono::nanoseconds) override
    {
        ++state_->looks;
        return state_->isStartKnown;
    }

    AudioInputStart awaitStart() override
    {
        ++state_->starts;
        if (state_->onStart)
            state_->onStart();
        return state_->outcome;
    }

    void stop() override
    {
        {
            const std::lock_guard lock(state_->mutex);
            ++state_->stops;
        }
        if (state_->onStop)
            state_->onStop();
        const std::lock_guard lock(state_->mutex);
        state_->handlers.reset();
    }

private:
    std::shared_ptr<FakeAudioInputState> state_; // shared with the factory
};

// A sound server with one microphone, "mic".
class FakeAudioInputFactory final : public AudioInputFactory {
public:
    AudioInputAccess microphoneAccess() override { return access; }

    bool requestMicrophoneAccess() override
    {
        ++requests;
        return isGrantedOnRequest;
    }

    std::vector<AudioInputDevice> microphones() override
    {
        if (listError)
            std::rethrow_exception(listError);
        return devices;
    }

    std::optional<AudioInputDevice> microphone(const std::string& id) override
    {
        if (onMicrophone)
            onMicrophone();
        if (error)
            std::rethrow_exception(error);
        const auto found = std::find_if(
            devices.begin(), devices.end(), [&](const AudioInputDevice& device) { return device.id == id; });
        return found == devices.end() ? std::nullopt : std::optional(*found);
    }

    std::unique_ptr<AudioInput> makeMicrophoneInput(const AudioInputDevice& device) override
    {
        microphoneInput->device = device;
        return made(microphoneInput);
    }

    std::unique_ptr<AudioInput> makeSystemAudioInput(const SystemAudioConfiguration& configuration) override
    {
        if (error)
            std::rethrow_exception(error);
        systemInput->configuration = configuration;
        return made(systemInput);
    }

    AudioInputAccess access = AudioInputAccess::granted;
    bool isGrantedOnRequest = false;
    int requests = 0;
    std::vector<AudioInputDevice> devices = {{"mic", "Desk Microphone"}};
    std::function<void()> onMicrophone; // runs within microphone(); may hang
    std::exception_ptr error; // the server does not answer
    std::exception_ptr listError;

    // Shared with the inputs that are made.
    std::shared_ptr<FakeAudioInputState> microphoneInput = std::make_shared<FakeAudioInputState>();
    std::shared_ptr<FakeAudioInputState> systemInput = std::make_shared<FakeAudioInputState>();

private:
    static std::unique_ptr<AudioInput> made(const std::shared_ptr<FakeAudioInputState>& state)
    {
        if (state->makeError)
            std::rethrow_exception(state->makeError);
        return state->isMissing ? nullptr : std::make_unique<FakeAudioInput>(state);
    }
};

} // namespace glimto
