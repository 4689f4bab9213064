#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Audio/AudioMixer.h"
#include "Platform/AudioInput.h"
#include "Support/Guarded.h"
#include "Support/LineOutput.h"

namespace glimto {

// Records one microphone and hands its sound to a mixer.
//
// begin(), isReadyWithin(), start() and stop() are called from one thread. Sound comes on a thread of the
// input and goes to the mixer from there; no lock of this object is held meanwhile.
class MicrophoneCapture {
public:
    // Makes sure that microphones may be used; asks the user where the system does so, and waits for the
    // answer. Throws CLIError when they may not.
    static void requireAccess(AudioInputFactory& inputs);

    // The microphone with this id. When there is none that records sound, tells the ids that there are on
    // `standardError` and throws CLIError; throws what the factory throws.
    static AudioInputDevice requireDevice(
        const std::string& deviceID, AudioInputFactory& inputs, LineOutput& standardError);

    // Throws what the factory throws when the device refuses.
    MicrophoneCapture(const AudioInputDevice& device, AudioInputFactory& inputs);

    // Stops.
    ~MicrophoneCapture();

    MicrophoneCapture(const MicrophoneCapture&) = delete;
    MicrophoneCapture& operator=(const MicrophoneCapture&) = delete;

    // Lets the microphone start while the rest of a recording gets ready: its first sound takes a while. It
    // goes nowhere before start(). Call it once or not at all. Throws PlatformError.
    void begin();

    // After begin(): whether start() would return or throw at once. Waits for that, at most as long as
    // `limit`.
    bool isReadyWithin(std::chrono::nanoseconds limit);

    // Returns once sound flows to `mixer`, which has a source for the microphone. Throws CLIError when it
    // does not, and what begin() throws. Call it once.
    void start(std::shared_ptr<AudioMixer> mixer);

    // No sound reaches the mixer any more once this returns. Any number of times, also without a start.
    void stop();

    // Why there is no more sound: the first thing that went wrong before stop(). A failure does not stop the
    // capture by itself. Any thread.
    std::optional<std::string> failure() const;

private:
    struct State {
        bool hasBegun = false;
        // Since start() was through: before that nothing tells the sound's time.
        std::shared_ptr<AudioMixer> mixer;
        bool isStopped = false;
        std::optional<std::string> failure;
    };

    AudioInput::Handlers handlers();
    void didOutputBuffer(const AudioBuffer& buffer);
    void recordFailure(const std::string& text);

    const AudioInputDevice device_;
    Guarded<State> state_;
    const std::unique_ptr<AudioInput> input_; // last: its handlers use the others
};

} // namespace glimto
