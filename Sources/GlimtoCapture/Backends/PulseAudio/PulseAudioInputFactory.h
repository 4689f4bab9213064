#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AudioInput.h"

namespace glimto {

// The inputs of the sound server that the environment names: PulseAudio, or PipeWire's server for its
// clients. Ids are the names that `pactl list short sources` shows.
class PulseAudioInputFactory final : public AudioInputFactory {
public:
    // Any process of the session may record.
    AudioInputAccess microphoneAccess() override { return AudioInputAccess::granted; }
    bool requestMicrophoneAccess() override { return true; }

    // What outputs play counts as no microphone here, but microphone() finds their monitors, too.
    std::vector<AudioInputDevice> microphones() override;
    std::optional<AudioInputDevice> microphone(const std::string& id) override;

    std::unique_ptr<AudioInput> makeMicrophoneInput(const AudioInputDevice& device) override;

    // Rate and channels are those of the output. This process plays nothing, so there is nothing of it to
    // be excluded.
    std::unique_ptr<AudioInput> makeSystemAudioInput(const SystemAudioConfiguration& configuration) override;
};

} // namespace glimto
