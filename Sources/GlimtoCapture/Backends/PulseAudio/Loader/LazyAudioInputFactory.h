#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/AudioInput.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Finds and makes audio inputs with the module of the sound server's library, which it opens on first use.
class LazyAudioInputFactory final : public AudioInputFactory {
public:
    // `module` outlives the factory.
    explicit LazyAudioInputFactory(LoadableModule& module);

    // Nobody is asked here: any process of the session may record.
    AudioInputAccess microphoneAccess() override;
    bool requestMicrophoneAccess() override;

    // These throw PlatformError when the module cannot be opened, too.
    std::vector<AudioInputDevice> microphones() override;
    std::optional<AudioInputDevice> microphone(const std::string& id) override;
    std::unique_ptr<AudioInput> makeMicrophoneInput(const AudioInputDevice& device) override;
    std::unique_ptr<AudioInput> makeSystemAudioInput(const SystemAudioConfiguration& configuration) override;

private:
    AudioInputFactory& factory();

    LoadableModule& module_;
};

} // namespace glimto
