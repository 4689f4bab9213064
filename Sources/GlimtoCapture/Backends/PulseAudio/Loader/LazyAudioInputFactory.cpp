#include "Backends/PulseAudio/Loader/LazyAudioInputFactory.h"

#include "Backends/PulseAudio/Loader/SoundModuleEntry.h"

namespace glimto {

LazyAudioInputFactory::LazyAudioInputFactory(LoadableModule& module)
    : module_(module)
{
}

AudioInputFactory& LazyAudioInputFactory::factory()
{
    return *module_.entry<decltype(glimtoCaptureAudioInputFactory)>(audioInputFactoryEntryName)();
}

AudioInputAccess LazyAudioInputFactory::microphoneAccess()
{
    return AudioInputAccess::granted;
}

bool LazyAudioInputFactory::requestMicrophoneAccess()
{
    return true;
}

std::vector<AudioInputDevice> LazyAudioInputFactory::microphones()
{
    return factory().microphones();
}

std::optional<AudioInputDevice> LazyAudioInputFactory::microphone(const std::string& id)
{
    return factory().microphone(id);
}

std::unique_ptr<AudioInput> LazyAudioInputFactory::makeMicrophoneInput(const AudioInputDevice& device)
{
    return factory().makeMicrophoneInput(device);
}

std::unique_ptr<AudioInput> LazyAudioInputFactory::makeSystemAudioInput(
    const SystemAudioConfiguration& configuration)
{
    return factory().makeSystemAudioInput(configuration);
}

} // namespace glimto
