#include "Backends/PulseAudio/PulseAudioInputFactory.h"

#include <pulse/def.h>

#include "Backends/PulseAudio/PulseAudioInput.h"
#include "Backends/PulseAudio/PulseConnection.h"
#include "Backends/PulseAudio/PulseDevices.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

AudioInputDevice deviceOf(const PulseSource& source)
{
    return {.id = source.name, .name = source.description.empty() ? source.name : source.description};
}

} // namespace

std::vector<AudioInputDevice> PulseAudioInputFactory::microphones()
{
    PulseMainloop loop;
    PulseConnection connection(loop);
    std::vector<AudioInputDevice> devices;
    for (const auto& source : listPulseSources(connection)) {
        if (!source.isMonitor)
            devices.push_back(deviceOf(source));
    }
    return devices;
}

std::optional<AudioInputDevice> PulseAudioInputFactory::microphone(const std::string& id)
{
    PulseMainloop loop;
    PulseConnection connection(loop);
    const auto source = findPulseSource(connection, id);
    if (!source)
        return std::nullopt;
    return deviceOf(*source);
}

std::unique_ptr<AudioInput> PulseAudioInputFactory::makeMicrophoneInput(const AudioInputDevice& device)
{
    if (!microphone(device.id))
        throw PlatformError(
            errorDomain::pulseAudio, PA_ERR_NOENTITY, "The microphone " + device.name + " has gone.");
    return makePulseMicrophoneInput(device.id);
}

std::unique_ptr<AudioInput> PulseAudioInputFactory::makeSystemAudioInput(const SystemAudioConfiguration&)
{
    PulseMainloop loop;
    PulseConnection connection(loop);
    if (!defaultPulseSink(connection))
        throw PlatformError(errorDomain::pulseAudio, PA_ERR_NOENTITY,
            "The sound server has no output whose sound could be recorded. Connect one, or choose one as the "
            "default.");
    return makePulseSystemAudioInput();
}

} // namespace glimto
