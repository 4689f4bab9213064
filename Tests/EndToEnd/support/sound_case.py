"""The test case of recordings with sound."""

from support import media, sound
from support.case import EndToEndCase
from support.live_player import LivePlayer
from support.sound_server import SoundServer

SPEAKER = "speaker"
MICROPHONE_FEED = "micfeed"
MICROPHONE = "fakemic"
PLAYER_LATENCY = 500  # milliseconds; a busy machine must not tear the sound
LENGTH_TOLERANCE = 0.05  # seconds between the ends of picture and sound


class SoundCase(EndToEndCase):
    """A screen, and a sound server with a speaker, and a microphone that hears what is played on "micfeed"."""

    KIND = "pulseaudio"

    def setUp(self):
        super().setUp()
        self.start_screen()
        self.sound_server = self.started(SoundServer(self.KIND))

    def environment(self, **changes):
        leading = self.sound_server.environment(super().environment())
        return {name: value for name, value in {**leading, **changes}.items() if value is not None}

    # Played

    def wave(self, *channels):
        number = len(list(self.directory.glob("*.wav")))
        return sound.write_wave(self.directory / f"{number}.wav", *channels)

    def play(self, sink, *channels):
        """Plays the samples; one channel or two."""
        return self.sound_server.play(self.wave(*channels), sink, PLAYER_LATENCY)

    def play_tone(self, sink, frequency, seconds=30, level=0.25):
        return self.play(sink, sound.tone(frequency, seconds, level))

    def start_live_player(self, sink):
        return self.started(LivePlayer(self.sound_server.variables["PULSE_SERVER"], sink))

    # Found

    def decoded_sound(self):
        return sound.decode(sound.join_audio(self.take, self.directory / "joined-audio.mp4"))

    def assert_level(self, samples, frequency, level, tolerance=0.03):
        found = sound.level(samples, frequency)
        # One break of a busy machine's sound gives a hundredth of the tones beside it.
        self.assertAlmostEqual(found, level, delta=max(level * tolerance, 0.005), msg=f"level of {frequency} Hz")

    def assert_whole_take(self):
        """The media contract holds, and picture and sound end together."""
        self.verify_contract()
        manifest = self.manifest()
        lengths = [sum(segment["duration"] for segment in manifest[key]) for key in ("segments", "audioSegments")]
        self.assertAlmostEqual(*lengths, delta=LENGTH_TOLERANCE)
        streams = media.probe(self.take / "result.mp4", "-show_streams")["streams"]
        decoded = [float(stream["duration"]) for stream in streams]
        self.assertEqual(len(decoded), 2)
        self.assertAlmostEqual(*decoded, delta=LENGTH_TOLERANCE)
