#include "Recording/RecordingAudio.h"

namespace glimto {

std::vector<AudioMixerSource> recordingAudioSources(const RecordOptions& options)
{
    std::vector<AudioMixerSource> sources;
    if (options.captureSystemAudio)
        sources.push_back(AudioMixerSource::system);
    if (options.microphoneDeviceID)
        sources.push_back(AudioMixerSource::microphone);
    return sources;
}

AudioMixer::PeakMeter recordingSoundMeter(const std::shared_ptr<RecordingFigures>& figures)
{
    if (!figures->isWatched())
        return nullptr;
    return [figures](AudioMixerSource source, float peak) { figures->notePeak(source, peak); };
}

std::string recordingAudioLine(const RecordOptions& options)
{
    std::string names;
    for (const AudioMixerSource source : recordingAudioSources(options)) {
        if (!names.empty())
            names += " + ";
        names += audioMixerSourceName(source);
    }
    if (names.empty())
        return "Audio: none";
    return "Audio: AAC " + names + ", " + std::to_string(recordingAudioSampleRate) + " Hz, "
        + std::to_string(recordingAudioChannelCount) + " channels";
}

} // namespace glimto
