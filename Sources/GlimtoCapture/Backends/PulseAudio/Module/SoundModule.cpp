#include "Backends/PulseAudio/Loader/SoundModuleEntry.h"
#include "Backends/PulseAudio/PulseAudioInputFactory.h"

// The factory lives as long as the process.
extern "C" glimto::AudioInputFactory* glimtoCaptureAudioInputFactory()
{
    static glimto::PulseAudioInputFactory factory;
    return &factory;
}
