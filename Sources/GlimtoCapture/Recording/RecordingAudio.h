#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Audio/AudioMixer.h"
#include "Platform/AudioMixerSource.h"
#include "Options/RecordOptions.h"
#include "Progress/RecordingFigures.h"

namespace glimto {

// The one audio track of a recording: what its sources are asked for, mixed to and encoded from.
constexpr int recordingAudioSampleRate = 48000; // Hz
constexpr int recordingAudioChannelCount = 2;

// Where its sound comes from; nothing when no audio is recorded.
std::vector<AudioMixerSource> recordingAudioSources(const RecordOptions& options);

// Notes how loud each source is, when somebody watches; null otherwise.
AudioMixer::PeakMeter recordingSoundMeter(const std::shared_ptr<RecordingFigures>& figures);

// What a person is told of it: "Audio: AAC system + microphone, 48000 Hz, 2 channels" or "Audio: none".
std::string recordingAudioLine(const RecordOptions& options);

} // namespace glimto
