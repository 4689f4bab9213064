"""Sound as tests play it, and as decoders find it in a take."""

import array
import cmath
import math
import wave

from support import media

RATE = 48000  # Hz, of all sound here
FULL_SCALE = 32767


# Made


def tone(frequency, seconds, level=0.25):
    """Samples of a sine between -1 and 1, beginning at phase 0."""
    turn = 2 * math.pi * frequency / RATE
    return [level * math.sin(turn * at) for at in range(round(seconds * RATE))]


def silence(seconds):
    return [0.0] * round(seconds * RATE)


def write_wave(path, *channels):
    """A 16-bit file of one or more channels of equal length."""
    samples = array.array("h", bytes(2 * len(channels) * len(channels[0])))
    for at, channel in enumerate(channels):
        samples[at::len(channels)] = array.array(
            "h", [round(FULL_SCALE * max(-1.0, min(1.0, sample))) for sample in channel])
    with wave.open(str(path), "wb") as file:
        file.setnchannels(len(channels))
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(samples.tobytes())
    return path


# Found


class Sound:
    """Decoded stereo; sample k of a channel is at k / RATE seconds of the take."""

    def __init__(self, left, right):
        self.left = left
        self.right = right

    @property
    def seconds(self):
        return len(self.left) / RATE

    @property
    def channels(self):
        return (self.left, self.right)


def decode(path):
    """The sound of a file at its own time stamps; what lies before its first one is silence."""
    data = media.run_tool("ffmpeg", "-nostdin", "-v", "error", "-copyts", "-i", path, "-map", "0:a:0", "-af",
                          "aresample=async=1:first_pts=0", "-ac", "2", "-ar", RATE, "-f", "f32le", "-")
    samples = array.array("f", data)
    return Sound(samples[0::2], samples[1::2])


def join_audio(take, target):
    """The bytes a player puts together for the audio track."""
    audio = take / "segments/audio"
    pieces = [audio / "init.mp4", *sorted(audio.glob("segment_*.m4s"))]
    target.write_bytes(b"".join(piece.read_bytes() for piece in pieces))
    return target


def part(samples, start, end):
    """The samples from `start` to `end` seconds."""
    return samples[round(start * RATE):round(end * RATE)]


def component(samples, frequency):
    """Level and phase of a sine of this frequency, as a complex number; a sine from phase 0 on has angle 0.

    By Goertzel's algorithm. Exact over whole periods; a few periods are good to a few per cent.
    """
    turn = 2 * math.pi * frequency / RATE
    factor = 2 * math.cos(turn)
    last = before = 0.0
    for sample in samples:
        last, before = sample + factor * last - before, last
    # The recursion's phase is that of the last sample; a sine is a quarter turn behind a cosine.
    found = (last - cmath.exp(-1j * turn) * before) * cmath.exp(-1j * turn * (len(samples) - 1))
    return 2j * found / max(1, len(samples))


def level(samples, frequency, block=0.1):
    """How loud a sine of about this frequency is on average. Looked at in blocks, so that a pitch that is slightly off
    while a clock is being followed does not matter; choose a frequency with whole periods in a block."""
    blocks = list(blocks_of(samples, block)) or [samples]
    return sum(abs(component(each, frequency)) for each in blocks) / len(blocks)


def blocks_of(samples, seconds):
    """Whole blocks, one after the other."""
    length = round(seconds * RATE)
    return (samples[at:at + length] for at in range(0, len(samples) - length + 1, length))


def loudest(samples):
    return max(map(abs, samples), default=0.0)


def onset(samples, threshold, start=0.0, window=0.001):
    """Seconds of the first window from `start` on whose loudest sample is above the threshold; none without one."""
    step = round(window * RATE)
    for at in range(round(start * RATE), len(samples) - step, step):
        if loudest(samples[at:at + step]) > threshold:
            return at / RATE
    return None


def phase_steps(samples, frequency, block=0.005):
    """By how much the phase of a sine moves against its frequency from block to block, in samples.

    Choose a frequency with whole periods in a block.
    """
    turn = 2 * math.pi * frequency / RATE
    phases = [cmath.phase(component(each, frequency)) for each in blocks_of(samples, block)]
    steps = [(later - earlier + math.pi) % (2 * math.pi) - math.pi for earlier, later in zip(phases, phases[1:])]
    return [step / turn for step in steps]


def largest_break(samples, frequency, block=0.005):
    """The largest sudden move of a sine's phase, in samples: one where a sample was dropped or doubled.

    A pitch that is slightly off moves the phase as well, but evenly.
    """
    steps = phase_steps(samples, frequency, block)
    return max(abs(later - earlier) for earlier, later in zip(steps, steps[1:]))
