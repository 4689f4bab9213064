#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/AudioBuffer.h"

namespace glimto {

// A device that sound can be recorded from.
struct AudioInputDevice {
    std::string id; // unique and lasting: what `--microphone` takes
    std::string name; // for people
};

enum class AudioInputAccess { granted, notDetermined, denied };

enum class AudioInputStart {
    running,
    notRunning, // the device or its server did not begin
    noClock, // it runs, but nothing tells when its sound was heard
};

// A live source of sound.
//
// begin(), awaitStart() and stop() are called from one thread, in this order and at most once each, and
// isStartKnownWithin() any number of times after the first of them. The
// handlers run on a thread that the input owns, one call at a time, and must not block for longer than a
// buffer lasts.
class AudioInput {
public:
    struct Handlers {
        // Sound, in order. Its presentation time is that of the first sample on the host clock, when it was
        // heard or played: free of jitter, and following slow drift of the device's clock, so that buffers
        // join without gaps and overlaps (to within a millisecond) as long as the device delivers.
        std::function<void(const AudioBuffer& buffer)> onBuffer;

        // The device was taken away. No buffer follows.
        std::function<void()> onDisconnected;

        // The input failed otherwise; the text says why and may be empty. No buffer follows.
        std::function<void(const std::string& description)> onFailed;

        // Something is wrong, but the input goes on by itself: a sentence for the user, without end mark.
        // Until it is mended no buffer comes. Only system audio does this, once per input.
        std::function<void(const std::string& description)> onInterrupted;
    };

    virtual ~AudioInput() = default;

    // Lets the input start, and returns at once; handlers may be called from now on. Throws PlatformError
    // (POSIX) when its thread cannot be started, and nothing else.
    virtual void begin(Handlers handlers) = 0;

    // Whether awaitStart() would return at once. Waits for that, at most as long as `limit`.
    virtual bool isStartKnownWithin(std::chrono::nanoseconds limit) = 0;

    // After begin(): returns once sound flows, or it is clear that it will not. An input that is not
    // `running` must not be started again.
    virtual AudioInputStart awaitStart() = 0;

    // Both, one after the other.
    AudioInputStart start(Handlers handlers)
    {
        begin(std::move(handlers));
        return awaitStart();
    }

    // No handler is running or will run once this returns. Does nothing if the input never began.
    virtual void stop() = 0;
};

struct SystemAudioConfiguration {
    bool excludesCurrentProcessAudio = false;
    int sampleRate = 48000; // Hz, wished for; buffers say what they have
    int channelCount = 2;
};

class AudioInputFactory {
public:
    virtual ~AudioInputFactory() = default;

    // Whether microphones may be used. Does not throw; where nobody can be asked it is granted.
    virtual AudioInputAccess microphoneAccess() = 0;

    // Asks the user, where the system does such a thing, and waits for the answer: true when granted.
    virtual bool requestMicrophoneAccess() = 0;

    // Every microphone there is. Throws PlatformError when the sound server does not answer.
    virtual std::vector<AudioInputDevice> microphones() = 0;

    // The device with this id, if it can record sound. Throws PlatformError when the sound server does
    // not answer.
    virtual std::optional<AudioInputDevice> microphone(const std::string& id) = 0;

    // The device's sound, never that of another one. Throws PlatformError when the device refuses.
    virtual std::unique_ptr<AudioInput> makeMicrophoneInput(const AudioInputDevice& device) = 0;

    // What the system plays, wherever it plays it: when the output it goes to changes, or the sound server
    // goes away and comes back, this follows. Throws PlatformError when there is no sound server or nothing
    // to play on.
    virtual std::unique_ptr<AudioInput> makeSystemAudioInput(const SystemAudioConfiguration& configuration)
        = 0;
};

} // namespace glimto
