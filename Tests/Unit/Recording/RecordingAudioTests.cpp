#include "Recording/RecordingAudio.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Sources = std::vector<AudioMixerSource>;

TEST(RecordingAudioTests, WithoutAudioThereAreNoSources)
{
    EXPECT_EQ(recordingAudioSources({}), Sources());
    EXPECT_EQ(recordingAudioLine({}), "Audio: none");
}

TEST(RecordingAudioTests, SystemAudioAlone)
{
    RecordOptions options;
    options.captureSystemAudio = true;

    EXPECT_EQ(recordingAudioSources(options), Sources{AudioMixerSource::system});
    EXPECT_EQ(recordingAudioLine(options), "Audio: AAC system, 48000 Hz, 2 channels");
}

TEST(RecordingAudioTests, AMicrophoneAlone)
{
    RecordOptions options;
    options.microphoneDeviceID = "mic";

    EXPECT_EQ(recordingAudioSources(options), Sources{AudioMixerSource::microphone});
    EXPECT_EQ(recordingAudioLine(options), "Audio: AAC microphone, 48000 Hz, 2 channels");
}

TEST(RecordingAudioTests, SystemAudioComesBeforeTheMicrophone)
{
    RecordOptions options;
    options.captureSystemAudio = true;
    options.microphoneDeviceID = "mic";

    EXPECT_EQ(
        recordingAudioSources(options), (Sources{AudioMixerSource::system, AudioMixerSource::microphone}));
    EXPECT_EQ(recordingAudioLine(options), "Audio: AAC system + microphone, 48000 Hz, 2 channels");
}

} // namespace
} // namespace glimto
