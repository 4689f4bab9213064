"""A tone that plays on and on, and beeps of which it is known when they were heard."""

import array
import ctypes
import threading
import time

from support.sound import FULL_SCALE, RATE, tone

PLAYBACK = 1
S16LE = 3
BLOCK_SECONDS = 0.01
BLOCK_BYTES = round(BLOCK_SECONDS * RATE) * 4
BUFFER_BLOCKS = 50  # a busy machine must not tear the sound
ANY = 2 ** 32 - 1  # the server chooses
LIMIT = 30  # seconds


class SampleFormat(ctypes.Structure):
    _fields_ = [("format", ctypes.c_int), ("rate", ctypes.c_uint32), ("channels", ctypes.c_uint8)]


class BufferAttributes(ctypes.Structure):
    _fields_ = [(name, ctypes.c_uint32) for name in ("maxlength", "tlength", "prebuf", "minreq", "fragsize")]


def load_library():
    library = ctypes.CDLL("libpulse-simple.so.0")
    library.pa_simple_new.restype = ctypes.c_void_p
    library.pa_simple_new.argtypes = [ctypes.c_char_p, ctypes.c_char_p, ctypes.c_int, ctypes.c_char_p,
                                      ctypes.c_char_p, ctypes.POINTER(SampleFormat), ctypes.c_void_p,
                                      ctypes.POINTER(BufferAttributes), ctypes.POINTER(ctypes.c_int)]
    library.pa_simple_write.argtypes = [ctypes.c_void_p, ctypes.c_char_p, ctypes.c_size_t, ctypes.c_void_p]
    library.pa_simple_get_latency.restype = ctypes.c_uint64
    library.pa_simple_get_latency.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_int)]
    library.pa_simple_free.argtypes = [ctypes.c_void_p]
    return library


class LivePlayer:
    """Plays a sine of 1000 Hz on the left without a break; on the right, beeps of 2000 Hz when asked to.

    What it says of a beep's time is what the sound server says of it: how long the last sample handed over has to
    wait until it is heard.
    """

    TONE = 1000  # Hz: whole periods in a block
    BEEP = 2000
    LEVEL = 0.25
    BEEP_LEVEL = 0.5
    BEEP_BLOCKS = 5

    def __init__(self, address, sink):
        self.library = load_library()
        error = ctypes.c_int()
        sample_format = SampleFormat(S16LE, RATE, 2)
        attributes = BufferAttributes(ANY, BUFFER_BLOCKS * BLOCK_BYTES, ANY, BLOCK_BYTES, ANY)
        self.stream = self.library.pa_simple_new(
            address.encode(), b"player", PLAYBACK, sink.encode(), b"tone", ctypes.byref(sample_format), None,
            ctypes.byref(attributes), ctypes.byref(error))
        if not self.stream:
            raise AssertionError(f"the player got no stream from {address}: error {error.value}")
        self.quiet_block = self.block(0)
        self.beep_block = self.block(self.BEEP_LEVEL)
        self.changed = threading.Condition()
        self.is_asked = False
        self.heard_at = None
        self.is_over = False
        self.thread = threading.Thread(target=self.play, daemon=True)
        self.thread.start()

    def block(self, beep_level):
        left = tone(self.TONE, BLOCK_SECONDS, self.LEVEL)
        right = tone(self.BEEP, BLOCK_SECONDS, beep_level)
        samples = array.array("h", bytes(BLOCK_BYTES))
        samples[0::2] = array.array("h", [round(FULL_SCALE * sample) for sample in left])
        samples[1::2] = array.array("h", [round(FULL_SCALE * sample) for sample in right])
        return samples.tobytes()

    def beep(self):
        """When the beep's first sample is heard, in monotonic seconds; may lie a moment ahead."""
        with self.changed:
            self.is_asked = True
            self.heard_at = None
            if not self.changed.wait_for(lambda: self.heard_at is not None, LIMIT):
                raise AssertionError("the beep was not played")
            return self.heard_at

    def play(self):
        while not self.is_over:
            with self.changed:
                is_asked, self.is_asked = self.is_asked, False
            if not is_asked:
                self.write(self.quiet_block)
                continue
            answers = []
            for blocks in range(1, self.BEEP_BLOCKS + 1):
                self.write(self.beep_block)
                before = time.monotonic()
                latency = self.library.pa_simple_get_latency(self.stream, None) / 1e6
                after = time.monotonic()
                answers.append((after - before, (before + after) / 2 + latency - blocks * BLOCK_SECONDS))
            with self.changed:
                # The quickest answer: nothing came between it and the clock.
                self.heard_at = min(answers)[1]
                self.changed.notify_all()

    def write(self, block):
        # Without an answer there is no server any more; the player then falls silent.
        if self.library.pa_simple_write(self.stream, block, len(block), None) < 0:
            self.is_over = True

    def end(self):
        self.is_over = True
        self.thread.join(LIMIT)
        self.library.pa_simple_free(self.stream)
