#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "Platform/AudioInput.h"

namespace glimto {

// The sound that the system plays, captured beside the picture of a stream.
class SystemAudioCapture {
public:
    // At the sample rate (Hz) and channel count of the recording, sounds of this process included. Throws
    // what the factory throws.
    SystemAudioCapture(AudioInputFactory& inputs, int sampleRate, int channelCount);

    // Stops.
    ~SystemAudioCapture();

    SystemAudioCapture(const SystemAudioCapture&) = delete;
    SystemAudioCapture& operator=(const SystemAudioCapture&) = delete;

    // Lets it start; sound may come from now on. Throws PlatformError. Call it once, and then the next two
    // from the same thread.
    void begin(AudioInput::Handlers handlers);

    // Whether awaitStart() would return or throw at once. Waits for that, at most as long as `limit`.
    bool isReadyWithin(std::chrono::nanoseconds limit);

    // Returns once sound flows. Throws CLIError when it does not.
    void awaitStart();

    // No handler runs any more once the first call returns; later calls do nothing, so that a session can
    // let go of one that hangs. Any thread.
    void stop();

private:
    const std::unique_ptr<AudioInput> input_;
    std::atomic<bool> hasBegun_ = false;
    std::atomic<bool> isStopped_ = false;
};

} // namespace glimto
